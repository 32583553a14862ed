#include "environment.h"

#include <cstdlib>

#if defined(_WIN32)
#include <windows.h>
#endif

namespace rig {

#if defined(_WIN32)
// Asks the system, not the C library: a host may have set the variable after its start, and the
// path may contain characters that the C library's code page lacks.
std::filesystem::path PathFromEnvironment(const char* variable) {
    const std::wstring name(variable, variable + std::char_traits<char>::length(variable));
    std::wstring value(GetEnvironmentVariableW(name.c_str(), nullptr, 0), L'\0');
    value.resize(
        GetEnvironmentVariableW(name.c_str(), value.data(), static_cast<DWORD>(value.size())));
    return value;
}
#else
std::filesystem::path PathFromEnvironment(const char* variable) {
    const char* value = std::getenv(variable);
    return value != nullptr ? value : "";
}
#endif

std::filesystem::path PathFromUtf8(const char* path) {
    return std::u8string(path, path + std::char_traits<char>::length(path));
}

std::string Utf8FromPath(const std::filesystem::path& path) {
    const std::u8string text = path.u8string();
    return {text.begin(), text.end()};
}

} // namespace rig
