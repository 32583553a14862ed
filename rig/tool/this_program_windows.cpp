#include "this_program.h"

#include <windows.h>

#include "windows_text.h"

namespace rig {

/// main() gets the arguments in the system's code page, which has not every character.
int RunInUtf8(int, char**, Program program) {
    const host::Utf8Console console;
    return program(host::Arguments());
}

bool RunsInWine() {
    const HMODULE ntdll = GetModuleHandleW(L"ntdll.dll");
    return ntdll != nullptr && GetProcAddress(ntdll, "wine_get_version") != nullptr;
}

std::filesystem::path PathBesideThisProgram(const char* file) {
    std::wstring path(32768, L'\0');
    path.resize(GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
    return std::filesystem::path(path).parent_path() / file;
}

} // namespace rig
