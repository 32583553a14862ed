#include "timescale.h"

#include <cstdint>
#include <limits>

#include <gtest/gtest.h>

namespace {

using rig::wave::DurationText;
using rig::wave::Timescale;
using rig::wave::TimeText;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr std::uint64_t kLastTick = std::numeric_limits<std::uint64_t>::max();

TEST(Timescale, TicksAndMillisecondsAreTheSameTimes) {
    EXPECT_EQ(Timescale{-3}.Milliseconds(66400), 66.4);
    EXPECT_EQ(Timescale{-3}.Ticks(66.4), 66400U);
    EXPECT_EQ(Timescale{4}.Milliseconds(3), 30000.0);
    EXPECT_EQ(Timescale{4}.Ticks(30000), 3U);
}

TEST(Timescale, TimesThatNoTickHasAreTheNearestThatThereIs) {
    EXPECT_EQ(Timescale{-3}.Ticks(kInfinity), kLastTick);
    EXPECT_EQ(Timescale{-12}.Ticks(1e300), kLastTick);
    EXPECT_EQ(Timescale{-3}.Ticks(-1), 0U);
    EXPECT_EQ(Timescale{-3}.Ticks(0.0016), 2U);
}

TEST(TimeText, HasNoMoreDigitsThanItNeeds) {
    EXPECT_EQ(TimeText(0), "0");
    EXPECT_EQ(TimeText(200), "200");
    EXPECT_EQ(TimeText(66.4), "66.4");
    EXPECT_EQ(TimeText(150.0042), "150.004");
    EXPECT_EQ(TimeText(150.0042, 4), "150.0042");
    EXPECT_EQ(TimeText(1.8446744073709552e24), "1844674407370955161600000");
}

TEST(DurationText, HasTheUnitThatSuitsIt) {
    EXPECT_EQ(DurationText(10.06), "10.06 ms");
    EXPECT_EQ(DurationText(2000), "2000 ms");
    EXPECT_EQ(DurationText(1), "1 ms");
    EXPECT_EQ(DurationText(0.004), "4 µs");
    EXPECT_EQ(DurationText(0.9999), "999.9 µs");
    EXPECT_EQ(DurationText(0.0005), "500 ns");
    EXPECT_EQ(DurationText(2e-9), "2 ps");
    EXPECT_EQ(DurationText(1e-12), "1 fs");
}

} // namespace
