/// The driver's statuses in the library's codes: all 65,536 of them.

#include <map>

#include "high_resolution_timer.h"
#include "on_a_driver.h"

namespace {

using namespace test;
using Trel::SolvaneDriverLib::TranslateDriverStatus;

class DriverStatus : public OnADriver {};

TEST_F(DriverStatus, EachOneIsTranslatedByTheTable) {
    const std::map<int, int> table{{0, 0},   {-3, 0},  {-7, -5}, {-6, -2},
                                   {-2, -2}, {-5, -3}, {-4, -3}, {-1, -3}};
    for (int status = -32768; status <= 32767; ++status) {
        const auto known = table.find(status);
        const int expected = known != table.end() ? known->second : -1;
        ASSERT_EQ(TranslateDriverStatus(static_cast<std::int16_t>(status)), expected) << status;
        const Journal log = TakeLog();
        if (known != table.end()) {
            ASSERT_EQ(log, Journal()) << status;
        } else {
            ASSERT_EQ(log,
                      Entries("Error. Unknown GPIO trigger status: " + std::to_string(status)));
        }
    }
}

TEST_F(DriverStatus, UnknownOnesAreDeliveredAndLoggedOnceAnEvent) {
    Create();
    script.answers = {Created(7), Event(5), Event(-8), Event(-7)};
    stopAfter = 3;
    EXPECT_EQ(Solvane_RunTimer(timer, 1, Receive), 0);
    EXPECT_EQ(received[0].event.status, -1);
    EXPECT_EQ(received[1].event.status, -1);
    EXPECT_EQ(received[2].event.status, -5);
    EXPECT_EQ(TakeLog(), Entries("Error. Unknown GPIO trigger status: 5",
                                 "Error. Unknown GPIO trigger status: -8"));
    Dispose();
}

} // namespace
