/// Which parallel port the library looks at: the log does not tell.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace host {

/// The first parallel port that Windows lists, which is the only one that is ever used.
struct FirstPort {
    std::string name;                     ///< "LPT1"
    std::optional<std::uint16_t> address; ///< where its first I/O range begins, if it has one
    unsigned ports = 1;                   ///< how many Windows lists

    /// "LPT1 at 0x378, the first of 2 parallel ports; the others are never used"
    std::string Description() const;
};

/// Asks Windows, as the library does; empty when there is none, or Windows cannot be asked.
std::optional<FirstPort> FindFirstPort();

} // namespace host
