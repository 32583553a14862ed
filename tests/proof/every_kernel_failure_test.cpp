/// Every Windows call of the timer functions fails, in every state of a timer, once and from then
/// on, in every way that it can; and then a second one. The host observes what the calls imply,
/// every handle that can be closed is closed, and the next run works. The process ends if the
/// driver refuses to delete a timer in a disposal, and in no other case.

#include <csignal>
#include <cstdio>
#include <iostream>

#include "host_platform.h"
#include "on_the_rig.h"
#include "timer_host.h"

/// Detects a late answer of the driver into a request on the stack.
extern "C" const char* __asan_default_options();
extern "C" const char* __asan_default_options() {
    return "detect_stack_use_after_return=1";
}

namespace {

using namespace proof;
using namespace test;

constexpr TimerState kStates[] = {TimerState::Nothing,    TimerState::Created,
                                  TimerState::Stopped,    TimerState::CreateRefused,
                                  TimerState::LeftBehind, TimerState::DeleteRefused,
                                  TimerState::BesideARun};
constexpr const char* kStateNames[] = {"nothing",        "created",     "stopped",
                                       "create refused", "left behind", "delete refused",
                                       "beside a run"};
constexpr const char* kOpNames[] = {"Create",          "Run",  "RunStoppedBetweenEvents",
                                    "RunStoppedEarly", "Stop", "Dispose"};

/// What the host does with the timer afterwards.
enum class Ending : std::uint8_t { RunsAgain, Disposes, DisposesWhileItLasts };
constexpr Ending kEndings[] = {Ending::RunsAgain, Ending::Disposes, Ending::DisposesWhileItLasts};
constexpr const char* kEndingNames[] = {"runs it again", "disposes of it",
                                        "disposes of it while it lasts"};

struct Case {
    TimerState state;
    TimerOp op;
    const PlannedFault& planned;
    const PlannedFault* second; ///< null: none
    Ending ending;

    /// The driver refuses the deletion in the disposal.
    bool IsRefusedDisposal() const {
        return planned.function == host::kernel::kDeleteRequest &&
               (planned.mode->kind & RIG_FAULT_STATUS) != 0 &&
               (op == TimerOp::Dispose || ending == Ending::DisposesWhileItLasts);
    }

    bool Concerns(const char* function) const {
        return planned.function == function || (second != nullptr && second->function == function);
    }
};

std::string Text(const Case& one) {
    return std::string(kOpNames[static_cast<int>(one.op)]) + " (" +
           kStateNames[static_cast<int>(one.state)] + "), " + proof::Text(one.planned) +
           (one.second != nullptr ? ", " + proof::Text(*one.second) : "") + ", then the host " +
           kEndingNames[static_cast<int>(one.ending)];
}

class EveryKernelFailureTest : public OnTheRig, public testing::WithParamInterface<TimerOp> {
  protected:
    EveryKernelFailureTest() { host::Record(false); }

    /// The complaint about a case; empty if it passes.
    std::string Try(const Case& one) {
        host.Start(one.state, one.op);
        failures = 0;
        if (one.op == TimerOp::Dispose && one.IsRefusedDisposal()) {
            Arm(one.planned);
            ExpectDeath(one);
            Disarm();
            return End(one);
        }
        std::vector<const PlannedFault*> faults{&one.planned};
        if (one.second != nullptr) {
            faults.push_back(one.second);
        }
        const std::size_t before = host::kernel::OpenHandles();
        const TimerHost::Call call = host.Do(one.op, faults);
        failures = call.failures;
        const TimerObservation expected = Expected(one.op, call.trace);
        if (call.seen != expected) {
            return proof::Text(call.seen) + " instead of " + proof::Text(expected);
        }
        if (failures == 0) {
            return "nothing went wrong";
        }
        const std::string complaint = Leftovers(one.op, call.trace, before);
        return complaint.empty() ? End(one) : complaint;
    }

    std::string Leftovers(TimerOp op, const TimerTrace& trace, std::size_t before) {
        const bool isCreated = op == TimerOp::Create && Reason(trace).empty();
        if (op == TimerOp::Create && isCreated != host.HasTimer()) {
            return "the handle is " + std::to_string(host.Handle());
        }
        const std::ptrdiff_t left = Count(trace, "CloseHandle", false);
        const std::ptrdiff_t closes = Count(trace, "CloseHandle", true) + left;
        const std::ptrdiff_t own = op == TimerOp::Dispose ? 1 : Count(trace, "CreateEventW", true);
        if (closes != own) {
            return std::to_string(closes) + " handles were closed";
        }
        const std::ptrdiff_t expected = static_cast<std::ptrdiff_t>(before) + left +
                                        (isCreated ? 1 : 0) - (op == TimerOp::Dispose ? 1 : 0);
        if (std::cmp_not_equal(host::kernel::OpenHandles(), expected)) {
            return "a handle stays open";
        }
        if (host::kernel::AllocatedTexts() != Count(trace, "LocalFree", false)) {
            return "a text of the system's is not freed";
        }
        if (host::kernel::AbandonedRequests() != (IsLeftPending(trace) ? 1 : 0)) {
            return "a request is left pending";
        }
        host::kernel::AnswerAbandoned();
        return host::kernel::Misuses() == 0 ? "" : "a handle is used that is not open";
    }

    /// The last event was requested, and the wait for it failed.
    static bool IsLeftPending(const TimerTrace& trace) {
        bool isPending = false;
        for (const host::kernel::CallRecord& record : trace) {
            if (record.function == host::kernel::kWaitRequest) {
                isPending = record.error == ERROR_IO_PENDING;
            } else if (record.function == "WaitForSingleObject" && record.isDone) {
                isPending = false;
            }
        }
        return isPending;
    }

    /// The timer's end and a new timer, after the fault or while it lasts.
    std::string End(const Case& one) {
        if (one.ending != Ending::DisposesWhileItLasts) {
            Disarm();
        }
        if (!host.HasTimer() && !host.Works(TimerOp::Create)) {
            return "no new timer";
        }
        if (one.ending == Ending::RunsAgain) {
            if (!host.Works(TimerOp::Stop) || !host.Works(TimerOp::RunStoppedInside)) {
                return "the timer does not run again";
            }
        } else if (host.known != 0 && (!host.driver.Has(host.known) || one.IsRefusedDisposal())) {
            ExpectDeath(one);
            Disarm();
            host.Works(TimerOp::RunStoppedInside); // now it has a timer that can be deleted
        }
        if (!host.Works(TimerOp::Dispose)) {
            return "disposal";
        }
        Disarm();
        if (!host.DisposesOfOther()) {
            return "disposal of the other timer";
        }
        if (!host.Works(TimerOp::Create) || !host.Works(TimerOp::RunStoppedInside) ||
            !host.Works(TimerOp::Dispose)) {
            return "a new timer does not work";
        }
        if (std::cmp_not_equal(host::kernel::OpenHandles(), host.leftOpen)) {
            return "a handle is open at the end";
        }
        return DriverComplaint(one);
    }

    /// The driver keeps a timer only if another run replaced it, or the library cannot know it.
    std::string DriverComplaint(const Case& one) {
        const bool mayHide = one.Concerns(host::kernel::kCreateRequest) ||
                             one.Concerns(host::kernel::kCreateReply) ||
                             one.Concerns(host::kernel::kDeleteRequest);
        const std::size_t hidden = host.driver.Timers() - host.overwritten;
        return hidden <= (mayHide ? 1u : 0u)
                   ? ""
                   : std::to_string(hidden) + " timers go on in the driver";
    }

    void ExpectDeath(const Case& one) {
        constexpr std::uint32_t kNoSuchTimer = 2;
        const std::uint32_t error =
            one.IsRefusedDisposal() ? one.planned.mode->status : kNoSuchTimer;
        char code[16];
        std::snprintf(code, sizeof code, "%08x", static_cast<unsigned>(error));
        EXPECT_EXIT(Solvane_DisposeTimer(host.Handle()), testing::KilledBySignal(SIGABRT),
                    std::string("DeviceIoControl failed: A sentence.\r\n .0x") + code)
            << Text(one);
        ++deaths;
    }

    void TryAndCount(const Case& one) {
        const std::string wrong = Try(one);
        if (one.second != nullptr && wrong.empty() && failures == 1) {
            return; // one of them prevents the other
        }
        ++all;
        good += wrong.empty() ? 1 : 0;
        abandoned += host::kernel::AbandonedRequests();
        keptOn += host.driver.Timers() != 0 ? 1 : 0;
        if (!wrong.empty() && all - good <= kMostComplaints) {
            ADD_FAILURE() << Text(one) << ": " << wrong;
        }
    }

    /// Pairs of failures, and disposals after one: the other states and runs have nothing new
    /// there.
    static bool IsThorough(TimerState state, TimerOp op) {
        return (op == TimerOp::Create || op == TimerOp::RunStoppedInside) &&
               (state == TimerState::Created || state == TimerState::LeftBehind);
    }

    void TryAllEndings(TimerState state, TimerOp op, const PlannedFault& planned) {
        for (const Ending ending : kEndings) {
            const bool isOver = ending != Ending::DisposesWhileItLasts;
            if (ending == Ending::RunsAgain ||
                (IsRun(op) && IsThorough(state, op) && (isOver || planned.times == 0))) {
                TryAndCount({state, op, planned, nullptr, ending});
            }
        }
    }

    /// Every other call that this failure leads to fails, too.
    void TryAllPairs(TimerState state, TimerOp op, const PlannedFault& planned) {
        host.Start(state, op);
        const TimerHost::Call first = host.Do(op, {&planned}, true);
        for (const PlannedFault& second : first.plannedFaults) {
            if (second.times != 0 && second.function != planned.function) {
                TryAndCount({state, op, planned, &second, Ending::RunsAgain});
            }
        }
        Disarm();
    }

    void TryAll(TimerOp op) {
        for (const TimerState state : kStates) {
            if (state == TimerState::Nothing && op != TimerOp::Create) {
                continue;
            }
            host.Start(state, op);
            const TimerHost::Call healthy = host.Do(op, {}, true);
            for (const PlannedFault& planned : healthy.plannedFaults) {
                TryAllEndings(state, op, planned);
                if (planned.times != 0 && IsThorough(state, op)) {
                    TryAllPairs(state, op, planned);
                }
            }
        }
        EXPECT_EQ(good, all);
        constexpr std::size_t kFailures[] = {132, 5'200, 852,
                                             852, 18,    66}; // in the order of TimerOp
        EXPECT_EQ(all, kFailures[static_cast<std::size_t>(op)]);
        std::cout << kOpNames[static_cast<int>(op)] << ": " << good << " of " << all
                  << " failures; process ended by a refused disposal " << deaths
                  << ", timer left in the driver " << keptOn << ", request left pending "
                  << abandoned << '\n';
    }

    static constexpr std::size_t kMostComplaints = 20;

    TimerHost host;
    std::uint32_t failures = 0;
    std::size_t all = 0;
    std::size_t good = 0;
    std::size_t deaths = 0;
    std::size_t keptOn = 0;
    int abandoned = 0;
};

TEST_P(EveryKernelFailureTest, IsSurvivedByTimers) {
    TryAll(GetParam());
}

std::string NameOf(const testing::TestParamInfo<TimerOp>& op) {
    return kOpNames[static_cast<int>(op.param)];
}

INSTANTIATE_TEST_SUITE_P(Of, EveryKernelFailureTest,
                         testing::Values(TimerOp::Create, TimerOp::RunStoppedInside,
                                         TimerOp::RunStoppedBetween, TimerOp::RunStoppedEarly,
                                         TimerOp::Stop, TimerOp::Dispose),
                         NameOf);

} // namespace
