/// Every function of the library, called from inside a timer's function and from inside the log
/// function while a timer runs.

#include <algorithm>
#include <cstdio>
#include <stdexcept>
#include <utility>

#include "kernel_stand_in.h"
#include "proof_kinds.h"
#include "reentrant_host.h"

namespace proof {

namespace {

constexpr const char* kUnknownStatusLine = "Error. Unknown GPIO trigger status: 99";

class CallsFromATimerTest : public ReentrantHost {
  protected:
    struct Timer : Run {
        Timer() { EXPECT_EQ(Solvane_CreateTimer(&timer, 0), 0); }
        ~Timer() {
            if (timer != 0) {
                EXPECT_EQ(Solvane_DisposeTimer(timer), 0);
            }
        }
    };

    /// The status of a run that makes a nested call in its first event, in the log function or in
    /// the timer's.
    short RunWith(Timer& timer, bool inLog, std::function<void()> what) {
        if (!inLog) {
            timer.inFirstEvent = std::move(what);
            log.Expect(0, nullptr);
        } else {
            log.Expect(1, std::move(what));
        }
        return timer.Start();
    }
};

class OnEveryKindTest : public CallsFromATimerTest, public testing::WithParamInterface<Kind> {};

TEST_P(OnEveryKindTest, WorkAsOutsideARunWhichContinues) {
    std::size_t calls = 0;
    for (const bool inLog : {false, true}) {
        for (const NestedCall& inside : AllCalls()) {
            SCOPED_TRACE(inside.name + (inLog ? " in the log function" : " in the function"));
            Start(GetParam().scenario);
            rig_journal_clear();
            EXPECT_EQ(inside.run(), inside.expected);
            const test::Journal edges = TakeEdges();

            Start(GetParam().scenario);
            rig_journal_clear();
            {
                Timer timer;
                short status = 0;
                EXPECT_EQ(RunWith(timer, inLog, [&] { status = inside.run(); }), 0);
                EXPECT_EQ(status, inside.expected);
                EXPECT_EQ(TakeEdges(), edges);
                EXPECT_EQ(timer.events.size(), std::size_t{kEvents});
                const auto lines = std::count_if(
                    log.outside.begin(), log.outside.end(),
                    [](const std::string& line) { return line.ends_with(kUnknownStatusLine); });
                const bool isARunOutside = inside.name == "RunTimer" && !inLog;
                EXPECT_EQ(lines, inside.name == "SetLogger to none" ? 1
                                 : isARunOutside                    ? 2 * kEvents
                                                                    : kEvents);
            }
            EXPECT_EQ(WhatIsWrongAfterwards(), "");
            ++calls;
        }
    }
    std::printf("%s: %zu calls from inside a run\n", GetParam().name, calls);
    EXPECT_EQ(calls, 2 * (24 + 1)); // SetLogger twice
}

/// A host that triggers with every event of its timer.
struct TriggeringHost {
    SolvaneTimerHandle timer = 0;
    std::vector<short> statuses = {};

    static void SOLVANE_CALL Receive(std::uint64_t context, const SolvaneTimerEvent*) {
        constexpr std::size_t kPictures = 4;
        auto& host = *reinterpret_cast<TriggeringHost*>(static_cast<std::uintptr_t>(context));
        host.statuses.push_back(Solvane_TriggerCapture());
        if (host.statuses.size() == kPictures) {
            EXPECT_EQ(Solvane_StopTimer(host.timer), 0);
        }
    }
};

/// Events come at any moment of an exposure and after it: one that comes too early is refused and
/// costs no picture but its own.
TEST_P(OnEveryKindTest, AreRefusedInAnEventThatComesWhileTheCameraIsBusy) {
    constexpr int kExposure = 40; // ms
    constexpr int kQuestions = 6; // ms; three of 2 ms, on an FT2232H
    std::size_t refused = 0;
    std::size_t given = 0;
    for (int after = 0; after <= 2 * kExposure; ++after) {
        if (after > kExposure - kQuestions && after < kExposure) {
            continue; // the answer depends on when in its call the library asks
        }
        SCOPED_TRACE(after);
        Start("[camera]\nexposure_ms = " + std::to_string(kExposure) + "\n" + GetParam().scenario);
        rig_journal_clear();
        host::kernel::ComeAfterEdge("ready 0", static_cast<std::uint64_t>(after) * 1'000'000);
        TriggeringHost host;
        ASSERT_EQ(Solvane_CreateTimer(&host.timer, reinterpret_cast<std::uintptr_t>(&host)), 0);
        EXPECT_EQ(Solvane_RunTimer(host.timer, 1, TriggeringHost::Receive), 0);
        EXPECT_EQ(Solvane_DisposeTimer(host.timer), 0);
        host::kernel::script.onWait = nullptr;
        const short later = after < kExposure ? short{SOLVANE_E_NOT_READY} : short{0};
        EXPECT_EQ(host.statuses, (std::vector<short>{0, later, later, later}));
        EXPECT_EQ(rig_captures(), later == 0 ? 4U : 1U);
        ++(later == 0 ? given : refused);
        EXPECT_EQ(WhatIsWrongAfterwards(), "");
    }
    EXPECT_EQ(refused, 35U);
    EXPECT_EQ(given, 41U);
}

INSTANTIATE_TEST_SUITE_P(CallsFromATimerTest, OnEveryKindTest, testing::ValuesIn(Kinds()),
                         TestName);

// ---- The timer that runs ----

TEST_F(CallsFromATimerTest, AStopEndsTheRunAfterThePresentEvent) {
    for (const bool inLog : {false, true}) {
        Start(test::kUsbCamera);
        {
            Timer timer;
            EXPECT_EQ(RunWith(timer, inLog, [&] { EXPECT_EQ(Solvane_StopTimer(timer.timer), 0); }),
                      0);
            EXPECT_EQ(timer.events.size(), 1u);
        }
        EXPECT_EQ(WhatIsWrongAfterwards(), "");
    }
}

/// A host's mistake that the header names.
TEST_F(CallsFromATimerTest, ANestedRunEndsTheOuterOneAndLeavesItsTimerInTheDriver) {
    Start(test::kUsbCamera);
    const auto runAgain = [](SolvaneTimerHandle timer) {
        Run again;
        again.timer = timer;
        EXPECT_EQ(again.Start(), 0);
        EXPECT_EQ(again.events.size(), std::size_t{kEvents});
    };
    {
        Timer timer;
        EXPECT_EQ(RunWith(timer, false, [&] { runAgain(timer.timer); }), 0);
        EXPECT_EQ(timer.events.size(), 1u);
        EXPECT_EQ(driver.Timers(), 1u) << "the outer run's is lost";
        EXPECT_DEATH(RunWith(timer, true, [&] { runAgain(timer.timer); }), "")
            << "an event without a function";
        driver = {};
    }
    EXPECT_EQ(WhatIsWrongAfterwards(), "");
}

/// Likewise.
TEST_F(CallsFromATimerTest, ADisposalFreesTheTimerUnderItsRun) {
    if (!kHasAddressSanitizer) {
        GTEST_SKIP() << "seen with AddressSanitizer alone";
    }
    for (const bool inLog : {false, true}) {
        Start(test::kUsbCamera);
        Timer timer;
        EXPECT_DEATH(RunWith(timer, inLog, [&] { Solvane_DisposeTimer(timer.timer); }),
                     kUseAfterFree);
    }
}

// ---- Exceptions ----

TEST_F(CallsFromATimerTest, AStandardExceptionEndsTheRun) {
    for (const bool inLog : {false, true}) {
        Start(test::kUsbCamera);
        {
            Timer timer;
            EXPECT_EQ(RunWith(timer, inLog, [] { throw std::runtime_error("of the host"); }),
                      SOLVANE_E_UNDETERMINED);
            ASSERT_FALSE(log.outside.empty());
            EXPECT_TRUE(log.outside.back().ends_with(
                "Error. Solvane_RunTimer() failed with exception: of the host"))
                << log.outside.back();
            EXPECT_EQ(timer.events.size(), inLog ? 0u : 1u);
            EXPECT_EQ(Solvane_StopTimer(timer.timer), SOLVANE_E_INVALID) << "it runs still";
            EXPECT_EQ(driver.Timers(), 1u) << "left until the timer is disposed of";
        }
        EXPECT_EQ(WhatIsWrongAfterwards(), "");
    }
}

TEST_F(CallsFromATimerTest, AnyOtherExceptionReachesTheCallerOfTheRun) {
    for (const bool inLog : {false, true}) {
        Start(test::kUsbCamera);
        {
            Timer timer;
            EXPECT_THROW(RunWith(timer, inLog, [] { throw 7; }), int);
            EXPECT_EQ(Solvane_StopTimer(timer.timer), SOLVANE_E_INVALID) << "it runs still";
            timer.events.clear();
            timer.inFirstEvent = nullptr;
            EXPECT_EQ(driver.Timers(), 1u);
        }
        EXPECT_EQ(WhatIsWrongAfterwards(), "");
    }
}

/// Stopping swallows it.
TEST_F(CallsFromATimerTest, AnExceptionInTheLineOfAFailureReachesTheHost) {
    Start(test::kUsbCamera);
    const auto call = [this](auto function) {
        log.Expect(1, [] { throw std::runtime_error("of the host"); });
        return function();
    };
    const auto ignore = [](std::uint64_t, const SolvaneTimerEvent*) {};
    EXPECT_THROW(call([&] { return Solvane_RunTimer(0, 1, ignore); }), std::runtime_error);
    EXPECT_THROW(call([&] { return Solvane_RunTimer(other, 1, nullptr); }), std::runtime_error);
    EXPECT_THROW(call([] { return Solvane_DisposeTimer(0); }), std::runtime_error);
    EXPECT_EQ(call([] { return Solvane_StopTimer(0); }), SOLVANE_E_UNDETERMINED);
    EXPECT_EQ(call([&] { return Solvane_StopTimer(other); }), SOLVANE_E_UNDETERMINED);
    EXPECT_EQ(call([&] { return Solvane_DisposeTimer(std::exchange(other, 0)); }), 0);

    host::kernel::script.createFileError = 2;
    EXPECT_THROW(call([&] { return Solvane_CreateTimer(&other, 0); }), std::runtime_error);
    EXPECT_EQ(other, 0u);
    host::kernel::script.createFileError = 0;
    ASSERT_EQ(Solvane_CreateTimer(&other, 0), 0);
    host::kernel::script.createEventError = 8;
    EXPECT_THROW(call([&] { return Solvane_RunTimer(other, 1, ignore); }), std::runtime_error);
    host::kernel::script.createEventError = 0;
    EXPECT_EQ(WhatIsWrongAfterwards(), "");
}

} // namespace

} // namespace proof
