/// Numbers for the processes that share one hardware.
#pragma once

#include <cstdint>

namespace rig {

/// Hosts are numbered from 1 in the order in which they connect; 0 is the process that has the
/// hardware.
using HostNumber = std::uint32_t;
inline constexpr HostNumber kThisProcess = 0;

} // namespace rig
