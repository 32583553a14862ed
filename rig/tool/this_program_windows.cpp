#include "this_program.h"

#include <stdexcept>

#include <windows.h>

#include <shellapi.h>

#include "dll_files.h"
#include "windows_text.h"

namespace rig {

/// Ignores main()'s arguments: they are in the system's code page, which lacks many characters.
int RunInUtf8(int, char**, Program program) {
    const host::Utf8Console console;
    return program(host::Arguments());
}

bool RunsInWine() {
    const HMODULE ntdll = GetModuleHandleW(L"ntdll.dll");
    return ntdll != nullptr && GetProcAddress(ntdll, "wine_get_version") != nullptr;
}

std::filesystem::path PathBesideThisProgram(const char* file) {
    return host::ProgramFolder() / file;
}

std::string NameOfThisProcess() {
    return "run-" + std::to_string(GetCurrentProcessId());
}

std::filesystem::path FindProgram(const std::string& name) {
    const std::filesystem::path program = PathOf(name);
    std::wstring path(32768, L'\0');
    path.resize(SearchPathW(program.has_parent_path() ? L"." : nullptr, program.c_str(), L".exe",
                            static_cast<DWORD>(path.size()), path.data(), nullptr));
    if (path.empty()) {
        throw std::runtime_error(name + " cannot be started: there is no such program.");
    }
    DWORD kind = 0;
    if (GetBinaryTypeW(path.c_str(), &kind) && kind != SCS_64BIT_BINARY) {
        throw std::runtime_error(name + " is a 32-bit program, and the rig's DLLs are 64-bit ones: "
                                        "it cannot load them.");
    }
    return path;
}

void SetVariable(const char* name, const std::optional<std::string>& value) {
    SetEnvironmentVariableW(PathOf(name).c_str(), value ? PathOf(*value).c_str() : nullptr);
}

bool OpenInBrowser(const std::string& address) {
    constexpr INT_PTR kMostErrors = 32; // greater ones are success
    return reinterpret_cast<INT_PTR>(ShellExecuteW(nullptr, L"open", PathOf(address).c_str(),
                                                   nullptr, nullptr, SW_SHOWNORMAL)) > kMostErrors;
}

namespace {

std::atomic<bool>* toStop = nullptr;

BOOL WINAPI Stop(DWORD) {
    *toStop = true;
    return TRUE;
}

} // namespace

void StopWhenInterrupted(std::atomic<bool>& isToStop) {
    toStop = &isToStop;
    SetConsoleCtrlHandler(Stop, TRUE);
}

} // namespace rig
