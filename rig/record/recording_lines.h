/// The fixed parts of a recording's lines.
#pragma once

#include <string_view>

namespace rig::record {

inline constexpr std::string_view kTitle = "solvane recording ";

// The head's lines.
inline constexpr std::string_view kProgram = "program: ";
inline constexpr std::string_view kSystem = "system: ";
inline constexpr std::string_view kLibrary = "library: ";
inline constexpr std::string_view kSha256 = " sha256=";
inline constexpr std::string_view kPath = " path=";
inline constexpr std::string_view kWmiPort = "wmi-port: ";
inline constexpr std::string_view kAnonymous = "anonymous: ";

// What the other lines begin with.
inline constexpr char kQuestion = '>';
inline constexpr char kAnswer = '<';
inline constexpr char kRemark = '!';

/// The last remark.
inline constexpr std::string_view kEnd = "end";

} // namespace rig::record
