#include "host_guard.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <type_traits>

#include <windows.h>

#include <winternl.h>

#include "file_content.h"
#include "host_dlls.h"
#include "this_program.h"
#include "tool.h"

namespace fs = std::filesystem;

namespace rig {

namespace {

struct HandleCloser {
    void operator()(HANDLE handle) const { CloseHandle(handle); }
};
using Handle = std::unique_ptr<std::remove_pointer_t<HANDLE>, HandleCloser>;

/// Quotes an argument for CommandLineToArgvW(), but only if necessary: some programs, such as cmd
/// with /c, do not recognise a quoted option.
std::wstring Quoted(const std::wstring& argument) {
    if (!argument.empty() && argument.find_first_of(L" \t\"") == std::wstring::npos) {
        return argument;
    }
    std::wstring quoted = L"\"";
    std::size_t backslashes = 0;
    for (const wchar_t letter : argument) {
        if (letter == L'"') { // escape it and the backslashes before it
            quoted.append(backslashes + 1, L'\\');
        }
        backslashes = letter == L'\\' ? backslashes + 1 : 0;
        quoted += letter;
    }
    return quoted.append(backslashes, L'\\') + L'"';
}

std::wstring CommandLineOf(const std::vector<std::string>& command) {
    fs::path program = PathOf(command.front());
    if (program.has_parent_path()) { // a bare name is searched for instead
        program = fs::absolute(program);
    }
    std::wstring line = Quoted(program.make_preferred().wstring());
    for (auto argument = command.begin() + 1; argument != command.end(); ++argument) {
        line += L' ' + Quoted(PathOf(*argument).wstring());
    }
    return line;
}

/// Leaves Ctrl-C to the host; this program ends after it. At the end of the session Windows ends
/// this program, and with it the host, as soon as this routine returns. It does not return, so that
/// the host has the usual time to set its lines to rest.
BOOL WINAPI LeaveToHost(DWORD event) {
    if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) {
        Sleep(INFINITE);
    }
    return TRUE;
}

/// Hides the debugger, because programs that detect one behave differently: they use another heap,
/// and in Wine an exception in a program compiled by GCC ends it.
void HideDebugger(HANDLE process) {
    constexpr std::size_t kBeingDebugged = 2; // offset in the process environment block
    PROCESS_BASIC_INFORMATION information{};
    if (NtQueryInformationProcess(process, ProcessBasicInformation, &information,
                                  sizeof information, nullptr) == 0) {
        const char no = 0;
        WriteProcessMemory(process,
                           reinterpret_cast<char*>(information.PebBaseAddress) + kBeingDebugged,
                           &no, sizeof no, nullptr);
    }
}

fs::path PathOfFile(HANDLE file) {
    std::wstring path(32768, L'\0');
    path.resize(GetFinalPathNameByHandleW(file, path.data(), static_cast<DWORD>(path.size()), 0));
    const std::wstring_view prefix = L"\\\\?\\";
    return path.starts_with(prefix) ? path.substr(prefix.size()) : path;
}

/// A program that has just been started with the host, or loaded a DLL.
struct Loading {
    DWORD process;
    fs::path file; ///< empty: the program has been started
    HANDLE handle; ///< of the process that has been started
};

/// Handles a debug event, and calls `onLoading` if it is one. Returns how the program goes on.
template <class OnLoading>
DWORD HandleEvent(const DEBUG_EVENT& event, OnLoading onLoading) {
    switch (event.dwDebugEventCode) {
    case CREATE_PROCESS_DEBUG_EVENT: {
        const Handle file(event.u.CreateProcessInfo.hFile);
        HideDebugger(event.u.CreateProcessInfo.hProcess);
        onLoading(Loading{event.dwProcessId, {}, event.u.CreateProcessInfo.hProcess});
        return DBG_CONTINUE;
    }
    case LOAD_DLL_DEBUG_EVENT: {
        const Handle file(event.u.LoadDll.hFile);
        onLoading(Loading{event.dwProcessId, PathOfFile(file.get()), nullptr});
        return DBG_CONTINUE;
    }
    case EXCEPTION_DEBUG_EVENT: {
        // These two exceptions are meant for debuggers; the program handles all others.
        const DWORD code = event.u.Exception.ExceptionRecord.ExceptionCode;
        const bool isForDebuggers =
            code == EXCEPTION_BREAKPOINT || code == EXCEPTION_INVALID_HANDLE;
        return isForDebuggers ? DBG_CONTINUE : DBG_EXCEPTION_NOT_HANDLED;
    }
    default:
        return DBG_CONTINUE;
    }
}

class Guard {
  public:
    Guard() {
        for (const char* name : kHostDlls) {
            std::optional<std::string> bytes = host::ContentOf(PathBesideThisProgram(name));
            if (!bytes) {
                throw std::runtime_error(std::string(name) + " is not beside this program.");
            }
            contents[name] = std::move(*bytes);
        }
    }

    /// Handles the programs' debug events until the host has ended, and returns its exit code.
    int Watch(DWORD host) const {
        for (;;) {
            DEBUG_EVENT event{};
            if (!WaitForDebugEvent(&event, INFINITE)) {
                throw std::runtime_error("the host cannot be watched: Windows error " +
                                         std::to_string(GetLastError()) + '.');
            }
            const DWORD answer =
                HandleEvent(event, [this](const Loading& loading) { Check(loading.file); });
            ContinueDebugEvent(event.dwProcessId, event.dwThreadId, answer);
            if (event.dwDebugEventCode == EXIT_PROCESS_DEBUG_EVENT && event.dwProcessId == host) {
                return static_cast<int>(event.u.ExitProcess.dwExitCode);
            }
        }
    }

  private:
    void Check(const fs::path& loaded) const {
        const std::string name = Utf8(loaded.filename());
        for (const auto& [rigs, bytes] : contents) {
            if (IsSameName(name, rigs) && host::ContentOf(loaded) != bytes) {
                throw std::runtime_error(
                    "the host would have used " + Utf8(loaded) + ", which is not this rig's, and " +
                    "was ended before. Windows looks into the host's own folder first: " +
                    "`solvane-rig place` puts the rig there.");
            }
        }
    }

    std::map<std::string, std::string> contents; ///< of the rig's DLLs, by name
};

/// Whether the program is one of Windows' own. It is none that calls vendors' DLLs, and it may go
/// on for as long as the session, as the desktop does that a host's first window starts in Wine.
bool IsOfWindows(HANDLE process) {
    std::wstring path(32768, L'\0');
    auto size = static_cast<DWORD>(path.size());
    std::wstring folder(MAX_PATH, L'\0');
    folder.resize(GetWindowsDirectoryW(folder.data(), MAX_PATH));
    folder += L'\\';
    return QueryFullProcessImageNameW(process, 0, path.data(), &size) &&
           CompareStringOrdinal(
               path.c_str(), static_cast<int>(std::min<std::size_t>(size, folder.size())),
               folder.c_str(), static_cast<int>(folder.size()), TRUE) == CSTR_EQUAL;
}

/// Watches programs until they load the DLL that records.
class Watcher {
  public:
    WatchedRun Watch(HANDLE host) {
        DebugSetProcessKillOnExit(FALSE);
        do {
            WatchFor(kPollInterval);
            std::erase_if(programs, [](const auto& program) {
                return WaitForSingleObject(program.second.get(), 0) == WAIT_OBJECT_0;
            });
        } while (!programs.empty() || WaitForSingleObject(host, 0) != WAIT_OBJECT_0);
        DWORD code = 0;
        GetExitCodeProcess(host, &code);
        run.exitCode = static_cast<int>(code);
        return run;
    }

  private:
    static constexpr DWORD kPollInterval = 20; // ms

    void WatchFor(DWORD milliseconds) {
        DEBUG_EVENT event{};
        if (!WaitForDebugEvent(&event, milliseconds)) {
            Sleep(watched == 0 ? milliseconds : 0); // nothing to wait for fails at once
            return;
        }
        bool isOurs = false;
        const DWORD answer =
            HandleEvent(event, [&](const Loading& loading) { isOurs = Note(loading); });
        watched -= event.dwDebugEventCode == EXIT_PROCESS_DEBUG_EVENT ? 1 : 0;
        ContinueDebugEvent(event.dwProcessId, event.dwThreadId, answer);
        if (isOurs && DebugActiveProcessStop(event.dwProcessId)) {
            --watched;
        }
    }

    /// Returns whether the program has loaded the DLL that records.
    bool Note(const Loading& loading) {
        if (loading.file.empty()) {
            ++watched;
            if (!IsOfWindows(loading.handle)) {
                HANDLE own = nullptr;
                DuplicateHandle(GetCurrentProcess(), loading.handle, GetCurrentProcess(), &own,
                                SYNCHRONIZE, FALSE, 0);
                programs[loading.process] = Handle(own);
            }
            return false;
        }
        const std::string name = Utf8(loading.file.filename());
        if (std::any_of(kVendorDlls.begin(), kVendorDlls.end(),
                        [&](const char* dll) { return IsSameName(name, dll); })) {
            run.loaded.push_back(loading.file);
        }
        const bool isOurs = IsSameName(name, kRecordDll);
        run.isRecorded = run.isRecorded || isOurs;
        return isOurs;
    }

    std::map<DWORD, Handle> programs; ///< those that have not ended, but Windows' own
    int watched = 0;                  ///< how many of them are being debugged
    WatchedRun run;
};

/// The host's process and its first thread.
struct Started {
    Handle process;
    Handle thread;
    DWORD id;
};

Started Start(const std::vector<std::string>& command) {
    SetConsoleCtrlHandler(LeaveToHost, TRUE);
    STARTUPINFOW start{};
    start.cb = sizeof start;
    PROCESS_INFORMATION host{};
    if (!CreateProcessW(nullptr, CommandLineOf(command).data(), nullptr, nullptr, TRUE,
                        DEBUG_PROCESS, nullptr, nullptr, &start, &host)) {
        const DWORD error = GetLastError();
        throw std::runtime_error(command.front() + " cannot be started: " +
                                 (error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND
                                      ? "there is no such program."
                                      : "Windows error " + std::to_string(error) + '.'));
    }
    return {Handle(host.hProcess), Handle(host.hThread), host.dwProcessId};
}

} // namespace

int RunGuarded(const std::vector<std::string>& command) {
    const Guard guard;
    const Started host = Start(command);
    try {
        return guard.Watch(host.id);
    } catch (const std::runtime_error&) {
        // Programs that the host started end with this program, their debugger.
        TerminateProcess(host.process.get(), kGuardFailure);
        throw;
    }
}

WatchedRun RunWatched(const std::vector<std::string>& command) {
    const Started host = Start(command);
    return Watcher().Watch(host.process.get());
}

} // namespace rig
