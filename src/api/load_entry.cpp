/// The load and unload entry point. Nothing is done under the loader's lock: hardware is looked for
/// by the first call, and released by the library state's destructor.

#include <exception>

#include <windows.h>

namespace {

/// The compiler's run-time library gets itself memory for the first object that is made once, and
/// for the first exception. mingw-w64's ends the process when there is none. So it has had both
/// before there is a host whose first call could end so.
bool HasThrownOnce() {
    static const bool isCaught = [] {
        try {
            throw std::exception();
        } catch (const std::exception&) {
            return true;
        }
    }();
    return isCaught;
}

[[maybe_unused]] const bool s_runtimeIsReady = HasThrownOnce();

} // namespace

BOOL WINAPI DllMain(HINSTANCE /*library*/, DWORD /*reason*/, LPVOID /*reserved*/) {
    return TRUE;
}
