/// The unit of a recording's times, and times as people read them.
#pragma once

#include <cstdint>
#include <string>

namespace rig::wave {

/// One tick is 10^exponent ms.
struct Timescale {
    int exponent = 0;

    double Milliseconds(std::uint64_t ticks) const;
    /// The nearest tick; the last one there can be when that is too late.
    std::uint64_t Ticks(double milliseconds) const;
};

/// The digits that a time needs, three decimals at most: "66.4", "150.004", "200".
std::string TimeText(double milliseconds, int mostDecimals = 3);

/// A duration in the unit that suits it: "10.06 ms", "4 µs", "500 ns".
std::string DurationText(double milliseconds);

} // namespace rig::wave
