/// The load and unload entry point. It does nothing under the loader's lock: the first call looks
/// for the hardware, and the destructor of the library state releases it.

#include <exception>

#include <windows.h>

namespace {

/// mingw-w64's run-time library allocates memory for the first function-local static and the first
/// exception of a process, and ends the process if it gets none. Doing both at load time keeps a
/// host's first call from ending that way.
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
