/// The rig's clock: real time on Windows, virtual time in native tests. The program that links the
/// rig defines these two functions (on Windows, windows_clock.cpp does).
#pragma once

#include <cstdint>

namespace rig::clock {

/// Nanoseconds since some fixed moment; never goes back.
std::uint64_t Now();

/// Lets time pass for a vendor call that blocks.
void Wait(std::uint64_t nanoseconds);

} // namespace rig::clock
