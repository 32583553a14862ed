#include "console.h"

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

} // namespace

Utf8Console::Utf8Console() : codePage(GetConsoleOutputCP()) {
    SetConsoleOutputCP(CP_UTF8);
}

Utf8Console::~Utf8Console() {
    SetConsoleOutputCP(codePage);
}

/// main() has got them in the system's code page, which has not every character.
std::vector<std::string> Utf8Arguments(int count, char** values) {
    const std::unique_ptr<wchar_t*, LocalMemory> wide(
        CommandLineToArgvW(GetCommandLineW(), &count));
    if (!wide) {
        return {values, values + count};
    }
    std::vector<std::string> arguments;
    for (int i = 0; i < count; ++i) {
        arguments.push_back(Utf8(wide.get()[i]));
    }
    return arguments;
}

} // namespace rig
