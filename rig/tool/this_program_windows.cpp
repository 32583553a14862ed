#include "this_program.h"

#include <memory>
#include <string_view>

#include <windows.h>

#include <shellapi.h>

namespace rig {

namespace {

std::string Utf8(std::wstring_view text) {
    const int length = static_cast<int>(text.size());
    const auto convert = [&](char* buffer, int size) {
        return WideCharToMultiByte(CP_UTF8, 0, text.data(), length, buffer, size, nullptr, nullptr);
    };
    std::string utf8(static_cast<std::size_t>(convert(nullptr, 0)), '\0');
    convert(utf8.data(), static_cast<int>(utf8.size()));
    return utf8;
}

struct LocalMemory {
    void operator()(wchar_t** memory) const { LocalFree(memory); }
};

/// main() gets the arguments in the system's code page, which has not every character.
std::vector<std::string> Arguments() {
    int count = 0;
    const std::unique_ptr<wchar_t*, LocalMemory> wide(
        CommandLineToArgvW(GetCommandLineW(), &count));
    std::vector<std::string> arguments;
    for (int i = 0; i < count; ++i) {
        arguments.push_back(Utf8(wide.get()[i]));
    }
    return arguments;
}

class Utf8Output {
  public:
    Utf8Output() : before(GetConsoleOutputCP()) { SetConsoleOutputCP(CP_UTF8); }
    ~Utf8Output() { SetConsoleOutputCP(before); }
    Utf8Output(const Utf8Output&) = delete;
    Utf8Output& operator=(const Utf8Output&) = delete;

  private:
    unsigned before;
};

} // namespace

int RunInUtf8(int, char**, Program program) {
    const Utf8Output output;
    return program(Arguments());
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
