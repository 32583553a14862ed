/// From text of any kind to a TOML document, without trusting the parser more than it deserves.
#pragma once

#include <cstddef>
#include <string_view>

#include "toml_parser.h"

namespace rig {

/// More than a scenario ever needs, in bytes.
inline constexpr std::size_t kMaxScenarioSize = 1'048'576;

/// Throws ScenarioError, with the line, for whatever is no TOML. Characters beyond ASCII are
/// refused outside comments.
toml::table ParseToml(std::string_view text);

} // namespace rig
