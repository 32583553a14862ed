/// An FT2232H that answers at once and remembers nothing but its pins: no journal, no clock, no
/// memory. For measuring what the library itself costs, and for queues fuller than a real one.
#pragma once

#include <cstdint>

namespace test::instant_chip {

/// What a former user left in the receive queue.
void LeaveInQueue(std::uint32_t bytes);

/// The most bytes that one FT_Read delivers, from now until the next LeaveInQueue().
void DeliverAtMost(std::uint32_t bytes);

/// How many bytes are left there.
std::uint32_t InQueue();

/// The largest number of bytes that one FT_Read asked for.
std::uint32_t LargestRead();

/// How many reads there were, and how many of them found the queue empty.
std::uint32_t Reads();
std::uint32_t ReadsOfNothing();

} // namespace test::instant_chip
