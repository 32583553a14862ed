/// From text of any kind to a TOML document, without trusting the parser more than it deserves.
#pragma once

#include <string_view>

#include "toml_parser.h"

namespace rig {

/// Throws ScenarioError, with the line, for whatever is no TOML. Characters beyond ASCII are
/// refused outside comments.
toml::table ParseToml(std::string_view text);

} // namespace rig
