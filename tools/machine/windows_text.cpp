#include "windows_text.h"

#include <memory>

#include <shellapi.h>

namespace host {

namespace {

struct LocalMemory {
    void operator()(void* memory) const { LocalFree(memory); }
};

template <typename Memory>
using LocalPtr = std::unique_ptr<Memory, LocalMemory>;

} // namespace

std::string Utf8(std::wstring_view wide) {
    const int length = static_cast<int>(wide.size());
    const int size =
        WideCharToMultiByte(CP_UTF8, 0, wide.data(), length, nullptr, 0, nullptr, nullptr);
    std::string utf8(static_cast<std::size_t>(size), '\0');
    WideCharToMultiByte(CP_UTF8, 0, wide.data(), length, utf8.data(), size, nullptr, nullptr);
    return utf8;
}

std::wstring Wide(std::string_view utf8) {
    const int length = static_cast<int>(utf8.size());
    const int size = MultiByteToWideChar(CP_UTF8, 0, utf8.data(), length, nullptr, 0);
    std::wstring wide(static_cast<std::size_t>(size), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, utf8.data(), length, wide.data(), size);
    return wide;
}

std::vector<std::string> Arguments() {
    int count = 0;
    const LocalPtr<LPWSTR> words(CommandLineToArgvW(GetCommandLineW(), &count));
    std::vector<std::string> arguments;
    for (int i = 0; words && i < count; ++i) {
        arguments.push_back(Utf8(words.get()[i]));
    }
    return arguments;
}

std::string SystemMessage(DWORD error) {
    wchar_t* text = nullptr;
    const DWORD length = FormatMessageW(
        FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
        nullptr, error, 0, reinterpret_cast<wchar_t*>(&text), 0, nullptr);
    const LocalPtr<wchar_t> owner(text);
    std::wstring_view message(text, length);
    while (!message.empty() && std::wstring_view(L" .\r\n").find(message.back()) != message.npos) {
        message.remove_suffix(1);
    }
    return "Windows error " + std::to_string(error) + (message.empty() ? "" : ": ") + Utf8(message);
}

Utf8Console::Utf8Console() : before(GetConsoleOutputCP()) {
    SetConsoleOutputCP(CP_UTF8);
}

Utf8Console::~Utf8Console() {
    if (before != 0) { // 0: no console
        SetConsoleOutputCP(before);
    }
}

} // namespace host
