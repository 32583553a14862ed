#include "wave_rounding.h"

#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "recordings.h"

namespace {

using namespace rig::wave;
using testing::ElementsAre;

Picture TakeRounded(const std::string& vcd) {
    return Rounded(Take(vcd));
}

/// One pulse of so many µs.
std::string WidthOf(const std::string& microseconds) {
    return TakeRounded(TwoLines("#0 0! #0 1\" #1000000 1! #" +
                                std::to_string(1'000'000 + std::stoull(microseconds)) +
                                " 0! #9999999999"))
        .lanes.at(0)
        .pulses.at(0)
        .width;
}

TEST(Rounded, TimesSuitTheTimeThatIsShown) {
    EXPECT_THAT(TakeRounded(OneCapture()).times,
                ElementsAre("0", "66.4", "76.5", "91.4", "150", "", "200"));
    EXPECT_THAT(TakeRounded(TwoLines("#0 0! #1234567 1! #3000000")).times,
                ElementsAre("0", "1235", "3000"));
    EXPECT_THAT(TakeRounded(TwoLines("#0 0! #4 1! #6 0! #10")).times,
                ElementsAre("0", "0.004", "0.006", "0.01"));
}

TEST(Rounded, WidthsHaveThreeDigits) {
    EXPECT_EQ(WidthOf("12335"), "12.3 ms");
    EXPECT_EQ(WidthOf("99960"), "100 ms");
    EXPECT_EQ(WidthOf("4"), "4 µs");
    EXPECT_EQ(WidthOf("999"), "999 µs");
    EXPECT_EQ(WidthOf("1000"), "1 ms");
    EXPECT_EQ(WidthOf("2947123"), "2950 ms");
}

TEST(Rounded, AMomentMayHaveTheTimeOfTheOneBefore) {
    const Picture picture = TakeRounded(TwoLines("#5000 1!"));
    EXPECT_THAT(picture.times, ElementsAre("5", ""));
}

} // namespace
