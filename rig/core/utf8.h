/// Text that anybody may have written, made fit for journals, scenarios and JSON.
#pragma once

#include <string>
#include <string_view>

namespace rig {

/// The text with "?" for each byte that is not UTF-8.
std::string ValidUtf8(std::string_view text);

/// The same in one line: with a blank for each control character.
std::string PlainLine(std::string_view text);

} // namespace rig
