/// Two threads of a host use timers, in every order of their steps with up to three preemptions: at
/// each call of Windows, each callback, and each access to an atomic of a timer or of the log. In
/// every order, and whichever call fails, the documented invariants hold. A failure names its
/// schedule; SOLVANE_SCHEDULE set to it runs that one alone and shows its steps.

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <map>
#include <set>
#include <sstream>

#include <gtest/gtest.h>

#include "failure_mode.h"
#include "host_platform.h"
#include "system_faults.h"
#include "thread_scheduler.h"
#include "timer_invariants.h"

namespace {

using namespace proof;
using enum HostStep;

constexpr TimerState kStates[] = {TimerState::Created, TimerState::Stopped,
                                  TimerState::CreateRefused, TimerState::LeftBehind,
                                  TimerState::DeleteRefused};

constexpr rig_fault Fails(const char* function, std::uint32_t call, std::uint32_t status = 31) {
    return {function, call, 1, RIG_FAULT_STATUS, status, 0};
}
constexpr std::uint32_t kWaitFailed = 0xFFFF'FFFF;
constexpr std::uint32_t kUnknownStatus = 77;
constexpr rig_fault kFaults[] = {Fails(host::kernel::kCreateRequest, 1),
                                 Fails(host::kernel::kCreateRequest, 2),
                                 Fails("CreateEventW", 1),
                                 Fails("CreateEventW", 2),
                                 Fails(host::kernel::kWaitRequest, 1),
                                 Fails(host::kernel::kWaitRequest, 2),
                                 Fails("WaitForSingleObject", 1, kWaitFailed),
                                 Fails("WaitForSingleObject", 2, kWaitFailed),
                                 Fails(host::kernel::kDeleteRequest, 1),
                                 Fails(host::kernel::kDeleteRequest, 2),
                                 Fails(host::kernel::kWaitReply, 1, kUnknownStatus),
                                 Fails("CreateFileW", 1),
                                 {"CreateFileW", 1, 0, RIG_FAULT_STATUS, 2, 0}}; // always

/// The circumstances that a program is tried in.
struct Reach {
    std::size_t states;     ///< the first so many
    std::size_t firstFault; ///< counted from 1
    std::size_t lastFault;
};
constexpr Reach kEverything{std::size(kStates), 1, std::size(kFaults)};
constexpr Reach kHealthy{1, 1, 0};
constexpr Reach kDriverIsNotThere{1, std::size(kFaults) - 1, std::size(kFaults)};

/// A program, and the totals over all its schedules.
struct Expectation {
    TimerProgram program;
    Reach reach;
    std::size_t schedules;
    Surprises surprises;
};

const Expectation kExpectations[] = {
    {{"StoppedFromOutside", {{{{Run, 0, 3}}, {{Stop}}}}, 1},
     kEverything,
     32370,
     {.lostStops = 354, .lateStops = 1322, .undelivered = 3737}},
    {{"StoppedAgain", {{{{Run, 0, 3}}, {{Stop}, {Stop}}}}, 1},
     kEverything,
     70635,
     {.lostStops = 3921, .lateStops = 6043, .undelivered = 20765}},
    {{"RunsTwice", {{{{Run, 0, 1}, {Run, 0, 2}}, {{Stop}}}}, 1},
     kEverything,
     73546,
     {.lostStops = 3082, .lateStops = 2547, .stopsOfTheNext = 4921, .undelivered = 8050}},
    {{"DisposedOfAfterTheRun", {{{{Run, 0, 2}, {Give}}, {{Stop}, {Take}, {Dispose}}}}, 1},
     kEverything,
     22625,
     {.lostStops = 354, .lateStops = 895, .undelivered = 1721}},
    {{"HandedOver", {{{{Run, 0, 1}, {Give}, {Stop}}, {{Take}, {Run, 0, 2}}}}, 1},
     kEverything,
     75391,
     {.lostStops = 1075, .lateStops = 1302, .undelivered = 3139}},
    {{"TwoTimers",
      {{{{Create}, {Run, 0, 1}, {Dispose}}, {{Create, 1}, {Run, 1, 1}, {Dispose, 1}}}},
      0},
     kDriverIsNotThere,
     66748,
     {}},
    {{"EachStopsTheOther", {{{{Run, 0, 1, true}}, {{Run, 1, 1, true}}}}, 2},
     kHealthy,
     24320,
     {.lostStops = 2634, .lateStops = 1324, .undelivered = 8298}},
    {{"ANewOneBeside", {{{{Run, 0, 2}}, {{Create, 1}, {Stop}, {Dispose, 1}}}}, 1},
     kDriverIsNotThere,
     42531,
     {.lostStops = 1176, .lateStops = 1970, .undelivered = 10886}},
};

void PrintTo(const Expectation& expectation, std::ostream* stream) {
    *stream << expectation.program.name;
}

/// "RunsTwice:3:0:3.17.22": the program, the initial state, the fault (0: none) and the schedule.
struct Replay {
    std::string program;
    std::size_t state = 0;
    std::size_t fault = 0;
    std::string schedule;

    static Replay FromEnvironment() {
        Replay replay;
        if (const char* const text = std::getenv("SOLVANE_SCHEDULE")) {
            std::istringstream parts(text);
            char colon = 0;
            std::getline(parts, replay.program, ':');
            parts >> replay.state >> colon >> replay.fault >> colon >> replay.schedule;
        }
        return replay;
    }
};

class ScheduleTest : public testing::Test {
  protected:
    ScheduleTest() { host::Record(false); }
    ~ScheduleTest() override {
        host::kernel::Reset();
        host::Record(true);
    }

    Surprises surprises;
};

class EveryScheduleTest : public ScheduleTest, public testing::WithParamInterface<Expectation> {
  protected:
    /// All schedules with the fault of this number (0: none). False after a complaint.
    bool Try(std::size_t state, std::size_t fault) {
        bool hasFailed = fault == 0;
        scheduler.Follow("");
        do {
            const TimerHistory history = Once(state, fault);
            const std::string complaint = Complaint(history, surprises);
            if (!complaint.empty()) {
                ADD_FAILURE() << "SOLVANE_SCHEDULE=" << GetParam().program.name << ':' << state
                              << ':' << fault << ':' << scheduler.Schedule() << ": " << complaint
                              << '\n'
                              << Text(history);
                return false;
            }
            ++schedules;
            hasFailed = hasFailed || history.hasFailed;
            if (state == 0 && fault == 0) {
                CountCalls(history);
            }
        } while (scheduler.Next());
        EXPECT_TRUE(hasFailed) << "failure " << fault;
        return true;
    }

    TimerHistory Once(std::size_t state, std::size_t fault) const {
        return RunProgram(GetParam().program,
                          {kStates[state], fault != 0 ? &kFaults[fault - 1] : nullptr});
    }

    void CountCalls(const TimerHistory& history) {
        std::map<std::string_view, std::uint32_t> calls;
        for (const TimerCall& call : history.calls) {
            for (const WatchedCall& one : call.calls) {
                if (call.thread != ThreadScheduler::kNeither) {
                    most[one.record.function] =
                        std::max(most[one.record.function], ++calls[one.record.function]);
                }
            }
        }
        most[host::kernel::kWaitReply] = most[host::kernel::kWaitRequest];
    }

    std::map<std::string_view, std::uint32_t> most; ///< calls in any schedule without a failure
    std::size_t schedules = 0;
};

TEST_P(EveryScheduleTest, IsAsDocumented) {
    const Expectation& expected = GetParam();
    if (const Replay replay = Replay::FromEnvironment(); !replay.program.empty()) {
        if (replay.program != expected.program.name) {
            GTEST_SKIP() << "SOLVANE_SCHEDULE names another program";
        }
        scheduler.Follow(replay.schedule);
        const TimerHistory history = Once(replay.state, replay.fault);
        std::cout << Text(history);
        EXPECT_EQ(Complaint(history, surprises), "");
        return;
    }
    bool isGood = true;
    for (std::size_t state = 0; state < expected.reach.states; ++state) {
        isGood = isGood && Try(state, 0);
    }
    for (std::size_t fault = expected.reach.firstFault; fault <= expected.reach.lastFault;
         ++fault) {
        const rig_fault& fails = kFaults[fault - 1];
        isGood = isGood && (most[fails.function] < fails.call || Try(0, fault));
    }
    std::cout << expected.program.name << ": " << schedules << " schedules, " << Text(surprises)
              << '\n';
    if (isGood) {
        EXPECT_EQ(schedules, expected.schedules);
        EXPECT_EQ(Text(surprises), Text(expected.surprises));
    }
}

INSTANTIATE_TEST_SUITE_P(Of, EveryScheduleTest, testing::ValuesIn(kExpectations),
                         [](const testing::TestParamInfo<Expectation>& one) {
                             return std::string(one.param.program.name);
                         });

/// Two threads of three steps: every order with at most three preemptions, and no other.
TEST(ThreadSchedulerTest, RunsEveryOrder) {
    std::set<std::string> expected;
    std::string order = "aaabbb";
    do {
        std::size_t preemptions = 0;
        for (std::size_t i = 1; i < order.size(); ++i) {
            const bool isAtItsEnd = order.find(order[i - 1], i) == std::string::npos;
            preemptions += order[i] != order[i - 1] && !isAtItsEnd ? 1 : 0;
        }
        if (preemptions <= ThreadScheduler::kMostPreemptions) {
            expected.insert(order);
        }
    } while (std::ranges::next_permutation(order).found);
    const auto step = [&](char name) {
        for (int i = 0; i < 3; ++i) {
            order += name;
            scheduler.MayBePreempted();
        }
    };
    std::set<std::string> orders;
    scheduler.Follow("");
    do {
        order.clear();
        EXPECT_EQ(scheduler.Run([&] { step('a'); }, [&] { step('b'); }), "");
        orders.insert(order);
    } while (scheduler.Next());
    EXPECT_EQ(orders, expected);
}

TEST(ThreadSchedulerTest, ReportsDeadlocksAndEndlessLoops) {
    scheduler.Follow("");
    EXPECT_EQ(scheduler.Run([] { scheduler.WaitsUntil([] { return false; }); }, [] {}), "deadlock");
    scheduler.Follow("");
    EXPECT_EQ(scheduler.Run(
                  [] {
                      for (;;) {
                          scheduler.MayBePreempted();
                      }
                  },
                  [] {}),
              "a thread never ends");
}

/// Here the first schedule in which a stop ends the next run.
TEST_F(ScheduleTest, IsReplayedFromItsText) {
    const TimerProgram& program = std::ranges::find_if(kExpectations, [](const Expectation& one) {
                                      return one.surprises.stopsOfTheNext != 0;
                                  })->program;
    TimerHistory history;
    scheduler.Follow("");
    do {
        history = RunProgram(program, {});
        EXPECT_EQ(Complaint(history, surprises), "");
    } while (surprises.stopsOfTheNext == 0 && scheduler.Next());
    EXPECT_EQ(surprises.stopsOfTheNext, 1u);
    const std::string text = scheduler.Schedule();
    EXPECT_NE(text, "");
    scheduler.Follow(text);
    EXPECT_EQ(Text(RunProgram(program, {})), Text(history)) << text;
}

} // namespace
