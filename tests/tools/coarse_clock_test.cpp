/// The library and its check on a PC where every sleep ends at a tick of the system clock. Native
/// tests, because Wine's sleeps do not behave like this.

#include <algorithm>
#include <array>

#include <timeapi.h>
#include <windows.h>

#include "checked.h"
#include "host_platform.h"
#include "library_state.h"

#include <solvane/rig.h>
#include <solvane/solvane.h>

namespace test {
namespace {

using host::Ticks;
using testing::HasSubstr;
using testing::IsEmpty;

struct Kind {
    const char* name;
    const char* scenario;
    double settles; ///< ms; the wait after a write, which lengthens the pulse
};

const std::array kKinds{Kind{"FT2232H", "[[usb]]\nchip = 'FT2232H'\n", 2},
                        Kind{"Embedded API", "[eapi]\n", 0}, Kind{"Super I/O", "[superio]\n", 0},
                        Kind{"parallel port", "[lpt]\n", 0}};

constexpr double kTick = 15.625; // ms

double Milliseconds(std::uint64_t nanoseconds) {
    return static_cast<double>(nanoseconds) / 1e6;
}

/// Advances the clock to a time in ms after a tick.
void ComeAfterTick(double milliseconds) {
    constexpr std::uint64_t kTickNanoseconds = 15'625'000;
    host::Advance(kTickNanoseconds - host::Now() % kTickNanoseconds);
    host::Advance(static_cast<std::uint64_t>(milliseconds * 1e6));
}

double SleepFor(DWORD milliseconds) {
    const std::uint64_t begin = host::Now();
    Sleep(milliseconds);
    return Milliseconds(host::Now() - begin);
}

/// Measures Sleep(10) as a check does on Windows: one sleep directly after another.
host::SleepTimes MeasureSleep() {
    host::SleepTimes times;
    SleepFor(10);
    times.plain = SleepFor(10);
    timeBeginPeriod(1);
    SleepFor(10);
    times.raised = SleepFor(10);
    timeEndPeriod(1);
    return times;
}

class CoarseClockTest : public CheckOnTheRig {
  protected:
    ~CoarseClockTest() override { host::SetTicks(Ticks::none); }

    /// The lengths of the trigger pulse, in ms, for triggers at all moments between two ticks.
    static std::vector<double> Pulses(const Kind& kind) {
        SLV::Internal::LibraryState& state = SLV::Internal::GetLibraryState();
        state.controller.reset();
        ResetProcessState();
        Load(kind.scenario);
        SelectController(state);
        std::vector<double> pulses;
        for (double after = 0; after < kTick; after += 0.25) {
            host::Advance(200'000'000);
            ComeAfterTick(after);
            rig_journal_clear();
            EXPECT_EQ(Solvane_TriggerCapture(), SOLVANE_OK);
            rig_entry entry{};
            std::uint64_t rose = 0;
            for (std::size_t i = 0; rig_journal_entry(i, &entry) == 0; ++i) {
                if (entry.kind == RIG_EDGE && entry.text == std::string("trigger 1")) {
                    rose = entry.time;
                } else if (entry.kind == RIG_EDGE && entry.text == std::string("trigger 0")) {
                    pulses.push_back(Milliseconds(entry.time - rose));
                }
            }
        }
        EXPECT_EQ(pulses.size(), 63U) << kind.name;
        return pulses;
    }
};

TEST_F(CoarseClockTest, SleepsEndWithTheTicks) {
    ComeAfterTick(5);
    EXPECT_EQ(SleepFor(10), 10) << "unless somebody asks for ticks";
    for (const Ticks ticks : {Ticks::honoured, Ticks::ignored}) {
        host::SetTicks(ticks);
        ComeAfterTick(5);
        EXPECT_EQ(SleepFor(0), 0);
        EXPECT_EQ(SleepFor(10), kTick - 5) << "the tick that has begun counts";
        EXPECT_EQ(SleepFor(10), kTick);
        EXPECT_EQ(SleepFor(16), 2 * kTick);
    }
    timeBeginPeriod(1);
    host::Advance(300'000);
    EXPECT_DOUBLE_EQ(SleepFor(10), kTick - 0.3) << "still ignored";
    host::SetTicks(Ticks::honoured);
    host::Advance(1'000'000 - host::Now() % 1'000'000 + 300'000);
    EXPECT_EQ(SleepFor(10), 9.7);
    EXPECT_EQ(SleepFor(10), 10);
    timeEndPeriod(1);
}

TEST_F(CoarseClockTest, PulsesAreTenMillisecondsWhereTheResolutionIsGranted) {
    host::SetTicks(Ticks::honoured);
    for (const Kind& kind : kKinds) {
        const auto [shortest, longest] = std::ranges::minmax(Pulses(kind));
        EXPECT_GT(shortest, 9 + kind.settles - 0.001) << kind.name;
        EXPECT_LE(longest, 10 + kind.settles) << kind.name;
    }
}

TEST_F(CoarseClockTest, PulsesLastUntilATickWhereItIsNot) {
    host::SetTicks(Ticks::ignored);
    for (const Kind& kind : kKinds) {
        const auto [shortest, longest] = std::ranges::minmax(Pulses(kind));
        const double ticks = kind.settles > 0 ? 2 : 1; // one tick for each sleep
        EXPECT_DOUBLE_EQ(longest, ticks * kTick) << kind.name;
        // Only the FT2232H sleeps before the edge as well, so its pulse begins at a tick.
        EXPECT_DOUBLE_EQ(shortest, kind.settles > 0 ? ticks * kTick : 0.125) << kind.name;
    }
}

TEST_F(CoarseClockTest, CheckPassesAndExplainsThePulse) {
    double shortest = kTick;
    for (const Ticks ticks : {Ticks::honoured, Ticks::ignored}) {
        host::SetTicks(ticks);
        for (const Kind& kind : kKinds) {
            CheckPlan plan;
            plan.machine.sleep = MeasureSleep();
            EXPECT_EQ(plan.machine.sleep.plain, kTick);
            for (const int exposure : {0, 20, 21, 22, 23, 24, 25, 26, 27, 40, 333}) {
                plan.scenario =
                    kind.scenario + ("[camera]\nexposure_ms = " + std::to_string(exposure) + "\n");
                // shifts the capture to another moment between two ticks
                plan.scenario += "ready_after_power_ms = " + std::to_string(500 + exposure) + "\n";
                const Checked checked = Check(plan);
                EXPECT_FALSE(checked.result.hasFailed) << kind.name << exposure;
                shortest =
                    std::min(shortest, checked.Step("capture").times["call_ms"].get<double>());
                for (const char* const what : {"ready_returned_ms", "flag_ms"}) {
                    const auto& interval = checked.Step("capture").times[what];
                    if (!interval.is_null()) {
                        EXPECT_LE(interval[0].get<double>(), exposure) << kind.name << what;
                        EXPECT_GE(interval[1].get<double>(), exposure) << kind.name << what;
                    }
                }
                const auto& timing = checked.Step("timing");
                const bool isCoarse = ticks == Ticks::ignored;
                EXPECT_EQ(checked.Outcome("timing"), isCoarse ? "note" : "ok");
                EXPECT_THAT(timing.advice, HasSubstr("up to 16 ms"));
                EXPECT_THAT(timing.advice, HasSubstr("on an FT2232H up to 31 ms"));
                EXPECT_THAT(timing.advice,
                            HasSubstr(isCoarse ? "does not grant" : "does not raise"));
            }
        }
    }
    EXPECT_LT(shortest, 2) << "a capture was checked whose pulse was far too short";
}

} // namespace
} // namespace test
