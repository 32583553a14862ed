/// The contents of files, and checksums of them.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace host {

/// All bytes of a file; none when it cannot be read.
std::optional<std::string> ContentOf(const std::filesystem::path& path);

/// The SHA-256 sum (FIPS 180-4) of some bytes, in lower-case hexadecimal digits.
std::string Sha256(std::string_view bytes);

} // namespace host
