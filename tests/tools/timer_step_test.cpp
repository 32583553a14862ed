/// The step of a check that runs a timer of the kernel driver, which may never deliver an event.

#include "checked.h"

namespace test {
namespace {

using std::chrono_literals::operator""s;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

class TimerStepTest : public CheckOnTheRig {
  protected:
    static Checked CheckTimer(PlannedDriver& driver, std::chrono::seconds limit = 30s) {
        CheckPlan plan;
        plan.scenario = "[[usb]]\nchip = 'FT2232H'\n";
        plan.machine.timerDriver = host::DriverState::running;
        plan.driver = &driver;
        plan.timerLimit = limit;
        return Check(plan);
    }
};

TEST_F(TimerStepTest, ThreeEventsInTimePassAndTheTimerIsDisposedOf) {
    PlannedDriver driver({1'000, 3'000, 29'000, 30'000});
    const Checked checked = CheckTimer(driver);
    EXPECT_EQ(checked.result.Verdict(), "PASS");
    EXPECT_THAT(checked.Step("timer").seen,
                ElementsAre("SolvaneDevice runs", "event after 1000.0 ms, status 0",
                            "event after 2000.0 ms, status 0", "event after 26000.0 ms, status 0"));
    EXPECT_FALSE(driver.isKeptLoaded) << "the run is over";
    EXPECT_FALSE(driver.wasLoggerTaken);
}

TEST_F(TimerStepTest, WithoutEventsItFailsWhenTimeIsUp) {
    for (const auto limit : {30s, 5s}) {
        PlannedDriver driver({});
        const Checked checked = CheckTimer(driver, limit);
        EXPECT_EQ(checked.result.Verdict(), "FAIL");
        const host::StepResult& step = checked.Step("timer");
        EXPECT_THAT(step.seen,
                    ElementsAre("SolvaneDevice runs", "0 of 3 events came within " +
                                                          std::to_string(limit.count()) + " s"));
        EXPECT_EQ(step.milliseconds, static_cast<double>(limit.count()) * 1000)
            << "no longer, and no less";
        EXPECT_THAT(step.advice, HasSubstr("smaller one, or a longer --timer-limit"));
        EXPECT_THAT(step.advice, HasSubstr("sc stop SolvaneDevice"));
        EXPECT_EQ(checked.result.cause.likely, step.advice);
        EXPECT_TRUE(driver.isKeptLoaded) << "a run is left in the library";
        EXPECT_TRUE(driver.wasLoggerTaken) << "it may log later than there is a log";
    }
}

TEST_F(TimerStepTest, EventsThatStopFail) {
    PlannedDriver stopping({4'000, 9'000});
    Checked checked = CheckTimer(stopping);
    EXPECT_EQ(checked.Outcome("timer"), "FAIL");
    EXPECT_THAT(checked.Step("timer").seen.back(), StartsWith("2 of 3 events"));
    EXPECT_THAT(checked.Step("timer").advice, StartsWith("The driver stopped giving events"));
}

TEST_F(TimerStepTest, EventsThatAreTooRareAreNotTestedUnlessThereIsMoreTime) {
    for (const std::uint64_t interval : {11'000u, 15'000u, 29'000u}) {
        for (const bool hasTime : {false, true}) {
            PlannedDriver slow({interval, 2 * interval, 3 * interval});
            const Checked checked = CheckTimer(slow, hasTime ? 90s : 30s);
            EXPECT_EQ(checked.Outcome("timer"), hasTime ? "ok" : "not tested") << interval;
            EXPECT_EQ(checked.result.Verdict(), hasTime ? "PASS" : "INCOMPLETE PASS");
            EXPECT_THAT(checked.Step("timer").advice, HasSubstr(hasTime ? "" : "--timer-limit"));
            EXPECT_EQ(slow.isKeptLoaded, !hasTime);
        }
    }
}

TEST_F(TimerStepTest, EventsWhoseTriggerWasRefusedFail) {
    PlannedDriver driver({10, 20, 30}, -5);
    const Checked checked = CheckTimer(driver);
    EXPECT_EQ(checked.Outcome("timer"), "FAIL");
    EXPECT_THAT(checked.Step("timer").advice, StartsWith("The driver could not trigger"));
}

TEST_F(TimerStepTest, StopDoesNotWaitForAnEvent) {
    PlannedDriver driver({});
    CheckPlan plan;
    plan.scenario = "[[usb]]\nchip = 'FT2232H'\n";
    plan.refused = {host::Needs::lines, host::Needs::power};
    plan.driver = &driver;
    plan.stopAfterMs = 10'000; // after all the other steps
    const Checked checked = Check(plan);
    EXPECT_TRUE(checked.result.steps.empty()) << "it has no result";
    EXPECT_TRUE(driver.isKeptLoaded);
}

} // namespace
} // namespace test
