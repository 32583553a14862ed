/// Files that the process's environment names.
#pragma once

#include <filesystem>
#include <string>

namespace rig {

/// The path in a variable; empty when the variable is unset or empty.
std::filesystem::path PathFromEnvironment(const char* variable);

/// A path from UTF-8, the encoding of the rig's interface on every system.
std::filesystem::path PathFromUtf8(const char* path);

/// A path as UTF-8, for messages.
std::string Utf8FromPath(const std::filesystem::path& path);

} // namespace rig
