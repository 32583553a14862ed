/*
 * A D2XX library that is not the rig's, as a driver's installation would leave one in System32. It
 * marks what it does: a file, named by MARKED_FTD2XX, as soon as any of its code runs, and a status
 * that no library has from every function.
 */

#include <windows.h>

#define MARK 4711

BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID reserved) {
    (void)instance;
    (void)reserved;
    WCHAR path[MAX_PATH];
    if (reason == DLL_PROCESS_ATTACH &&
        GetEnvironmentVariableW(L"MARKED_FTD2XX", path, MAX_PATH) != 0) {
        CloseHandle(CreateFileW(path, GENERIC_WRITE, 0, NULL, CREATE_ALWAYS, 0, NULL));
    }
    return TRUE;
}

unsigned marked(void);

unsigned marked(void) {
    return MARK;
}
