/// A stop from another thread, the only operation that a second thread may do to a timer that runs.

#include <atomic>
#include <thread>

#include "on_a_driver.h"

namespace {

using namespace test;

std::atomic<int> events{0};

class StopFromThread : public OnADriver {
  protected:
    static void SOLVANE_CALL Count(std::uint64_t, const SolvaneTimerEvent*) { ++events; }
};

TEST_F(StopFromThread, EndsTheRunAtTheNextEvent) {
    Create();
    events = 0;
    script.answers = {Created(7)};
    script.onWait = [] {
        rig_journal_clear();
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    };
    std::int16_t result = -99;
    std::thread runner([&] { result = Solvane_RunTimer(timer, 1, Count); });
    while (events < 3) {
        std::this_thread::yield();
    }
    EXPECT_EQ(Solvane_StopTimer(timer), 0);
    const int before = events;
    runner.join();
    EXPECT_EQ(result, 0);
    EXPECT_LE(events, before + 1) << "at most the event that was on its way";
    Dispose();
}

} // namespace
