/// The parallel ports that Windows knows.
#pragma once

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace host {

/// Nothing, a number (negative ones in two's complement), or a text.
using WmiProperty = std::variant<std::monostate, std::uint64_t, std::string>;

struct ParallelPort {
    WmiProperty deviceId;                       ///< "LPT1"
    std::vector<WmiProperty> startingAddresses; ///< of its I/O ranges: "0x00000378"
};

/// Asks Windows' management interface (WMI), as the library does; none if it does not answer.
/// Leaves the process's COM security to others.
std::vector<ParallelPort> ListParallelPorts();

} // namespace host
