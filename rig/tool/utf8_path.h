/// Paths as the command line gives them and as messages show them, which is UTF-8 everywhere.
#pragma once

#include <filesystem>
#include <string>

namespace rig {

inline std::filesystem::path PathOf(const std::string& utf8) {
    return std::u8string(utf8.begin(), utf8.end());
}

inline std::string Utf8(const std::filesystem::path& path) {
    const std::u8string text = path.u8string();
    return {text.begin(), text.end()};
}

} // namespace rig
