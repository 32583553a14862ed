/// The rig's notion of time: the wall on Windows, a virtual clock in native tests. Whoever links
/// the rig supplies the two functions (core/windows_clock.cpp on Windows).
#pragma once

#include <cstdint>

namespace rig::clock {

/// Nanoseconds since some fixed moment; never goes back.
std::uint64_t Now();

/// Lets time pass for a vendor call that blocks.
void Wait(std::uint64_t nanoseconds);

} // namespace rig::clock
