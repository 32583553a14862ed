/// Makes text from outside fit for journals, scenarios and JSON.
#pragma once

#include <string>
#include <string_view>

namespace rig {

/// The text with "?" for each byte that is not UTF-8.
std::string ValidUtf8(std::string_view text);

/// The same, and with a blank for each control character, so that it is one line.
std::string PlainLine(std::string_view text);

} // namespace rig
