/// Whether the vendors' libraries of this process are real.
#pragma once

#include <optional>
#include <string>

namespace host {

/// "the virtual rig, scenario ..." when they are the rig's stand-ins; empty when they are not.
std::optional<std::string> DescribeVirtualRig();

} // namespace host
