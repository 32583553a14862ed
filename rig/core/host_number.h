/// The processes that use one hardware.
#pragma once

#include <cstdint>

namespace rig {

/// A host, counted from 1 as they come; 0 is the process that has the hardware.
using HostNumber = std::uint32_t;
inline constexpr HostNumber kThisProcess = 0;

} // namespace rig
