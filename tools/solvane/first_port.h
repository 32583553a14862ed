/// Finds out which parallel port the library uses, because its log does not say.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "parallel_ports.h"

namespace host {

/// The first parallel port that Windows lists. The library never uses another one.
struct FirstPort {
    std::string name;                     ///< "LPT1"
    std::optional<std::uint16_t> address; ///< start of its first I/O range, if any
    unsigned ports = 1;                   ///< how many Windows lists

    /// "LPT1 at 0x378, the first of 2 parallel ports; the others are never used"
    std::string Description() const;
};

/// Empty when there is no port.
std::optional<FirstPort> FirstOf(const std::vector<ParallelPort>& ports);

} // namespace host
