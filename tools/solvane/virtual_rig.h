/// Whether the vendors' DLLs in this process are real or virtual.
#pragma once

#include <optional>
#include <string>

namespace host {

/// "the virtual rig, scenario ..." when they are the rig's; empty when all are real.
std::optional<std::string> DescribeVirtualRig();

} // namespace host
