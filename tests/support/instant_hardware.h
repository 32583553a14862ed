/// Hardware that answers every vendor call at once and remembers nothing but its pins: no journal,
/// no clock, no memory. For measuring what the library itself costs, and for queues fuller than a
/// real one. There is an FT2232H, a mainboard with the Embedded API, and behind I/O ports a Super
/// I/O chip and a parallel port.
#pragma once

#include <cstdint>

namespace test::instant {

/// The chip's receive queue, and who read from it.
struct Queue {
    std::uint32_t waiting = 0;                 ///< bytes, at first what a former user left
    std::uint32_t mostDelivered = 0xFFFF'FFFF; ///< by one FT_Read
    std::uint32_t reads = 0;
    std::uint32_t readsOfNothing = 0;
    std::uint32_t largestRead = 0; ///< the most bytes that one FT_Read asked for
};
inline Queue queue;

} // namespace test::instant
