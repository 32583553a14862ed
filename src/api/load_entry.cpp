/// The load and unload entry point. Nothing is done under the loader's lock: hardware is looked for
/// by the first call, and released by the library state's destructor.

#include <windows.h>

BOOL WINAPI DllMain(HINSTANCE /*library*/, DWORD /*reason*/, LPVOID /*reserved*/) {
    return TRUE;
}
