// Stops a running program as Windows does: stop_helper <exe> close|logoff|shutdown|session. Prints
// "ended" when the program ended by itself; "returned" when its handler returned before: Windows
// would then have ended it wherever it was.

#include <cstdio>
#include <cwchar>
#include <string>

#include <windows.h>

#include <tlhelp32.h>

namespace {

DWORD FindProcess(const wchar_t* name) {
    const HANDLE all = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
    PROCESSENTRY32W entry{};
    entry.dwSize = sizeof entry;
    DWORD found = 0;
    for (BOOL more = Process32FirstW(all, &entry); more; more = Process32NextW(all, &entry)) {
        if (std::wcscmp(entry.szExeFile, name) == 0) {
            found = entry.th32ProcessID;
        }
    }
    CloseHandle(all);
    return found;
}

HWND FindWindowOf(DWORD process) {
    for (HWND window = nullptr;
         (window = FindWindowExW(nullptr, window, L"solvane", nullptr)) != nullptr;) {
        DWORD owner = 0;
        GetWindowThreadProcessId(window, &owner);
        if (owner == process) {
            return window;
        }
    }
    return nullptr;
}

DWORD WINAPI EndSession(void* window) {
    const auto target = static_cast<HWND>(window);
    if (SendMessageW(target, WM_QUERYENDSESSION, 0, ENDSESSION_LOGOFF) == 0) {
        std::printf("refused\n");
    }
    SendMessageW(target, WM_ENDSESSION, TRUE, ENDSESSION_LOGOFF);
    return 0;
}

/// A thread that notifies the program; null on failure.
HANDLE Notify(DWORD id, HANDLE process, const std::wstring& how) {
    if (how == L"session") {
        const HWND window = FindWindowOf(id);
        return window != nullptr ? CreateThread(nullptr, 0, EndSession, window, 0, nullptr)
                                 : nullptr;
    }
    const DWORD event = how == L"close"    ? CTRL_CLOSE_EVENT
                        : how == L"logoff" ? CTRL_LOGOFF_EVENT
                                           : CTRL_SHUTDOWN_EVENT;
    // The entry point of console events, at the same address in all processes.
    const auto begin = reinterpret_cast<LPTHREAD_START_ROUTINE>(reinterpret_cast<void*>(
        GetProcAddress(GetModuleHandleW(L"kernelbase.dll"), "CtrlRoutine")));
    return CreateRemoteThread(process, nullptr, 0, begin,
                              reinterpret_cast<void*>(static_cast<std::uintptr_t>(event)), 0,
                              nullptr);
}

} // namespace

int wmain(int count, wchar_t** values) {
    const DWORD id = count == 3 ? FindProcess(values[1]) : 0;
    const HANDLE process = OpenProcess(PROCESS_ALL_ACCESS, FALSE, id);
    const HANDLE handler = process != nullptr ? Notify(id, process, values[2]) : nullptr;
    if (handler == nullptr) {
        std::printf("cannot be notified\n");
        return 1;
    }
    // The threads of a process end just before it.
    constexpr DWORD kJustBeforeMilliseconds = 500;
    constexpr DWORD kMostMilliseconds = 60000;
    WaitForSingleObject(handler, kMostMilliseconds);
    const bool hasEnded = WaitForSingleObject(process, kJustBeforeMilliseconds) == WAIT_OBJECT_0;
    std::printf(hasEnded ? "ended\n" : "returned\n");
    return 0;
}
