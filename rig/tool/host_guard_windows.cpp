#include "host_guard.h"

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

class Guard {
  public:
    Guard() {
        for (const char* name : kHostDlls) {
            std::optional<std::string> bytes = ContentOf(PathBesideThisProgram(name));
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
            const DWORD answer = Serve(event);
            ContinueDebugEvent(event.dwProcessId, event.dwThreadId, answer);
            if (event.dwDebugEventCode == EXIT_PROCESS_DEBUG_EVENT && event.dwProcessId == host) {
                return static_cast<int>(event.u.ExitProcess.dwExitCode);
            }
        }
    }

  private:
    DWORD Serve(const DEBUG_EVENT& event) const {
        switch (event.dwDebugEventCode) {
        case CREATE_PROCESS_DEBUG_EVENT: {
            const Handle file(event.u.CreateProcessInfo.hFile);
            HideDebugger(event.u.CreateProcessInfo.hProcess);
            return DBG_CONTINUE;
        }
        case LOAD_DLL_DEBUG_EVENT: {
            const Handle file(event.u.LoadDll.hFile);
            Check(PathOfFile(file.get()));
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

    void Check(const fs::path& loaded) const {
        const std::string name = Utf8(loaded.filename());
        for (const auto& [rigs, bytes] : contents) {
            if (IsSameName(name, rigs) && ContentOf(loaded) != bytes) {
                throw std::runtime_error(
                    "the host would have used " + Utf8(loaded) + ", which is not this rig's, and " +
                    "was ended before. Windows looks into the host's own folder first: " +
                    "`solvane-rig place` puts the rig there.");
            }
        }
    }

    std::map<std::string, std::string> contents; ///< of the rig's DLLs, by name
};

} // namespace

int RunGuarded(const std::vector<std::string>& command) {
    const Guard guard;
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
    const Handle process(host.hProcess);
    const Handle thread(host.hThread);
    try {
        return guard.Watch(host.dwProcessId);
    } catch (const std::runtime_error&) {
        // Programs that the host started end with this program, their debugger.
        TerminateProcess(host.hProcess, kGuardFailure);
        throw;
    }
}

} // namespace rig
