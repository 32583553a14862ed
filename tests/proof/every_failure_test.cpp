/// Every vendor call and every Windows call of every operation fails, once and from then on, in
/// every way that it can. The operation ends in bounded time with a documented status, restores the
/// timer resolution, leaves the trigger low, and the hardware serves again after the fault.

#include <iostream>

#include "com_stand_in.h"
#include "d2xx.h"
#include "excuses.h"
#include "host_platform.h"
#include "on_the_rig.h"
#include "planned_faults.h"
#include "postcondition.h"
#include "proof_kinds.h"
#include "system_faults.h"
#include "usb_invariants.h"

namespace {

using namespace proof;
using namespace test;
using SLV::Internal::ControllerPtr;
using SLV::Internal::kOk;

constexpr std::uint64_t kMillisecond = 1'000'000;
constexpr std::uint64_t kSecond = 1000 * kMillisecond;

/// With a latched flag every operation makes all its calls.
constexpr const char* kCamera = "[camera]\nmep_latched = true\nready_after_power_ms = 100\n";

/// The history of the hardware. A failed start leaves the FT2232H open.
enum class State { Active, Configured, AfterAFault, AfterAFailedStart };
constexpr const char* kStateNames[] = {", outputs active, ", ", configured, ", ", after a fault, ",
                                       ", after a failed start, "};

/// Whose calls fail.
enum class Whose { Vendors, System };
constexpr const char* kWhoseNames[] = {"", " of Windows"};

struct Observation {
    short status;
    short answer;
    std::uint32_t captures;
    bool operator==(const Observation&) const = default;
};

bool Configures(const Operation& operation, State state) {
    return state != State::Configured || operation.op == Op::RecheckStatus;
}

struct Case {
    const Kind& kind;
    const Operation& operation;
    State state;
    const PlannedFault& planned;

    bool Configures() const { return ::Configures(operation, state); }

    bool IsRepair() const { return state == State::AfterAFault && kind.behaviour.isUsb; }
};

std::string Text(const Case& one) {
    return std::string(one.kind.name) + ", " + one.operation.name +
           kStateNames[static_cast<int>(one.state)] + proof::Text(one.planned);
}

class EveryFailureTest : public OnTheRig, public testing::WithParamInterface<Kind> {
  protected:
    EveryFailureTest() {
        host::Record(false);
        logger.Install(nullptr, [](void* context, const char*) { static_cast<void>(context); });
    }

    /// Hardware in the starting state of a case.
    void Start(const Kind& kind, State state) {
        controller.reset();
        host::Advance(kSecond - host::Now() % kSecond); // the log asks the calendar every second
        ResetProcessState();
        const bool isActive = state == State::Active;
        Load(std::string(kind.scenario) + kCamera + (isActive ? kind.activeOutputs : ""));
        if (isActive && kind.behaviour.isUsb) {
            LeaveOutputsActive();
        }
        controller = kind.make(logger);
        if (state == State::Configured) {
            controller->CheckAvailable();
        } else if (!isActive) {
            HaveFault(kind.earlierFaults[state == State::AfterAFault ? 0 : 1]);
        }
    }

    void HaveFault(const EarlierFault& earlierFault) {
        if (earlierFault.isConfigured) {
            controller->CheckAvailable();
        }
        FailStatus(earlierFault.function, 1, earlierFault.status);
        if (!earlierFault.isConfigured) {
            EXPECT_NE(controller->CheckAvailable(), 0);
        }
    }

    /// As selection does it: the old one goes when the new one exists.
    void Replace(const Kind& kind) {
        ControllerPtr old = std::exchange(controller, kind.make(logger));
        old.reset();
    }

    short Run(const Kind& kind, const Operation& operation, short& answer) {
        if (operation.op == Op::RecheckStatus) {
            Replace(kind);
            return controller->CheckAvailable();
        }
        return operation.run(*controller, &answer);
    }

    std::vector<PlannedFault> FaultsOf(const Kind& kind, const Operation& operation, State state,
                                       Whose whose) {
        Start(kind, state);
        const Postcondition postcondition(kind, operation, Configures(operation, state));
        const CallCount calls;
        short answer = kUntouched;
        const short status = Run(kind, operation, answer);
        healthy = {status, answer, rig_captures()};
        const bool isRepair = state == State::AfterAFault && kind.behaviour.isUsb;
        if (status == 0 && !isRepair) {
            EXPECT_EQ(Name(postcondition.Check(answer)), Name(Violation::None))
                << operation.name << kStateNames[static_cast<int>(state)];
        }
        return whose == Whose::Vendors ? calls.OfVendors(kind) : calls.OfSystem(SystemFunctions());
    }

    /// Long waits consist of sleeps of 2 ms.
    static std::uint64_t Longest(const PlannedFault& planned) {
        return planned.function == "Sleep" ? kLongest * kCoarseSleep / 2 : kLongest;
    }

    /// The complaint about a case; empty if it passes.
    std::string Try(const Case& one) {
        const PlannedFault& planned = one.planned;
        Start(one.kind, one.state);
        if (!Arm(planned)) {
            return "no such fault";
        }
        const Postcondition postcondition(one.kind, one.operation, one.Configures());
        const std::size_t journalBefore = rig_journal_size();
        capturesBefore = rig_captures();
        wasHigh = rig_level(RIG_TRIGGER) != 0;
        const std::uint64_t began = rig_time();
        short answer = kUntouched;
        const short status = Run(one.kind, one.operation, answer);
        const std::uint64_t took = rig_time() - began;
        if (!HasHappened(planned, journalBefore)) {
            return "nothing went wrong";
        }
        longest = std::max(longest, planned.function == "Sleep" ? 0 : took);
        if (took > Longest(planned) * kMillisecond) {
            return std::to_string(took / kMillisecond) + " ms";
        }
        if (planned.mode->isHarmless && Observation{status, answer, rig_captures()} != healthy) {
            return "the host sees another outcome";
        }
        for (const std::string& complaint :
             {StatusComplaint(one, status, answer),
              status == 0 ? SuccessComplaint(one, postcondition.Check(answer)) : "",
              LineComplaint(one, status)}) {
            if (!complaint.empty()) {
                return complaint;
            }
        }
        const bool isFinal = one.kind.comeback == Comeback::NewController;
        const short afterwards = isFinal ? controller->CheckAvailable() : kOk;
        Disarm();
        host::Advance(kSecond);
        if (isFinal && controller->CheckAvailable() != afterwards) {
            return "availability changed";
        }
        const std::string complaint = AccessoriesComplaint(one, status);
        return complaint.empty() ? Recovery(one) : complaint;
    }

    static std::string StatusComplaint(const Case& one, short status, short answer) {
        // Any operation that configures may fail to set a line to rest.
        const bool isRest =
            one.kind.configuringMayAnswerWrite && one.Configures() && status == SOLVANE_E_WRITE;
        if (!one.operation.MayAnswer(status) && !isRest) {
            return "undocumented status " + std::to_string(status);
        }
        const bool isAnswered = status == 0 && one.operation.hasAnswer;
        if (isAnswered ? answer != 0 && answer != 1 : answer != kUntouched) {
            return "answer " + std::to_string(answer) + " with status " + std::to_string(status);
        }
        if (rig_wbem_interfaces() != 0) {
            return "a COM interface is held";
        }
        if (host::com::AliveStrings() != 0 || host::com::Initialisations() != 0) {
            return "a text of COM's is held, or COM itself";
        }
        if (host::com::Misuses() != 0) {
            return "COM is used uninitialised, or with a foreign text";
        }
        return host::RaisedTimerPeriods() == 0 ? "" : "the timer resolution stays raised";
    }

    /// 0 means done, unless the fault excuses the violation.
    std::string SuccessComplaint(const Case& one, Violation violation) {
        if (violation == Violation::None) {
            return "";
        }
        const Excuse excuse =
            ExcuseFor(one.kind, one.operation, one.IsRepair(), one.planned, violation);
        ++excused[static_cast<std::size_t>(excuse)];
        if (excuse == Excuse::Recovery && !UsbInvariants(one.planned.mode->kind).IsConfigured()) {
            return "0, and nothing was recovered";
        }
        return excuse == Excuse::None ? std::string("0, and not as asked: ") + Name(violation) : "";
    }

    /// Only wrong bytes take an unrequested picture.
    static bool MayTrigger(const Case& one) {
        const TriggerRisk risk = one.planned.mode->risk;
        return risk == TriggerRisk::Garble || risk == TriggerRisk::WrongByte ||
               (risk == TriggerRisk::WrongRegister && one.Configures());
    }

    std::string LineComplaint(const Case& one, short status) {
        const bool isTrigger = one.operation.op == Op::TriggerCapture;
        const bool isUnrequested = rig_captures() > capturesBefore + (isTrigger ? 1 : 0);
        unrequested += isUnrequested ? 1 : 0;
        if (isUnrequested && !MayTrigger(one)) {
            return "an unrequested picture";
        }
        // A line that was high before may stay so in an operation that fails.
        const bool isHigh = rig_level(RIG_TRIGGER) != 0 && !wasHigh;
        leftHigh += isHigh ? 1 : 0;
        return isHigh && !MayStayHigh(one, status) ? "the trigger stays high" : "";
    }

    /// After a failed write of a trigger, which is reported if it can be detected; or after wrong
    /// bytes that the hardware took for right ones.
    static bool MayStayHigh(const Case& one, short status) {
        const bool isTrigger = one.operation.op == Op::TriggerCapture;
        switch (one.planned.mode->risk) {
        case TriggerRisk::None:
            return false;
        case TriggerRisk::FailedWrite:
        case TriggerRisk::WrongRegister:
            return isTrigger && status == SOLVANE_E_WRITE;
        case TriggerRisk::UnseenWrite:
            return isTrigger;
        case TriggerRisk::Garble:
            // A question that reads again removes a single cut command, unless it has read again
            // already.
            return isTrigger || one.planned.times == 0 || one.state == State::AfterAFault;
        case TriggerRisk::WrongByte:
            return true;
        }
        return false;
    }

    /// A switch that failed and did nothing does not change the remembered state.
    std::string AccessoriesComplaint(const Case& one, short status) {
        const bool isSwitch = one.operation.op == Op::EnableAccessoriesPower ||
                              one.operation.op == Op::DisableAccessoriesPower;
        const bool didNothing = one.planned.times == 1 &&
                                (one.planned.mode->kind & RIG_FAULT_COUNT) == 0 &&
                                one.planned.function != "Inp32";
        short on = kUntouched;
        return status == SOLVANE_E_WRITE && isSwitch && didNothing &&
                       one.state == State::Configured &&
                       controller->CheckAccessoriesPower(&on) == 0 &&
                       on != rig_level(RIG_ACCESSORIES_POWER)
                   ? "the accessories are " + std::to_string(on)
                   : "";
    }

    /// After the fault: the next operation, a new controller or replugging brings the hardware
    /// back, as predicted.
    std::string Recovery(const Case& one) {
        const UsbInvariants invariants(one.planned.mode->kind);
        const bool isUsb = one.kind.comeback == Comeback::UsbHandle;
        if (one.kind.comeback != Comeback::NewController) {
            const bool atOnce = !isUsb || invariants.ServesAtOnce();
            if ((controller->CheckAvailable() == 0) != atOnce) {
                return atOnce ? "the next operation fails" : "the next operation works";
            }
            needNewController += atOnce ? 0 : 1;
            const bool isNothingHeld = invariants.IsConfigured() && !invariants.IsHeld();
            if (isUsb && atOnce && !isNothingHeld && !RestsAfterClose()) {
                return "closing does not bring the lines to rest";
            }
        }
        if (isUsb && (controller->ResetComPort() == 0) == invariants.isSerialClaimed) {
            return "serial channel";
        }
        Replace(one.kind);
        const bool isClaimed = isUsb && !invariants.ServesANewController();
        if (isClaimed) {
            ++needReplug;
            if (controller->CheckAvailable() == 0) {
                return "a new controller opened a channel that was not closed";
            }
            rig_unplug(0);
            rig_plug(0);
        }
        const std::string complaint = Service(one.kind);
        controller.reset();
        const std::size_t stillOpen = invariants.isSerialClaimed && !isClaimed ? 1 : 0;
        return complaint.empty() && OpenChannels() != stillOpen ? "an open channel" : complaint;
    }

    /// The documented remedy for a trigger that stayed high.
    bool RestsAfterClose() {
        controller->CloseDevice();
        return controller->CheckAvailable() == 0 && rig_level(RIG_TRIGGER) == 0;
    }

    /// The lines are at rest, and one trigger takes one picture.
    std::string Service(const Kind& kind) {
        if (controller->CheckAvailable() != 0) {
            return "a new controller fails";
        }
        if (rig_level(RIG_TRIGGER) != 0 || (kind.restsClearMep && rig_level(RIG_CLEAR_MEP) != 0)) {
            return "lines are not at rest";
        }
        controller->EnableCameraPower();
        host::Advance(kSecond);
        const std::uint32_t captures = rig_captures();
        short ready = kUntouched;
        if (controller->CheckSystemReady(&ready) != 0 || ready != 1) {
            return "not ready again";
        }
        if (controller->TriggerCapture() != 0 || rig_captures() != captures + 1 ||
            rig_level(RIG_TRIGGER) != 0) {
            return "no picture again";
        }
        controller->CloseDevice();
        return controller->CheckAvailable() != 0 ? "not closed" : "";
    }

    static std::vector<State> StatesOf(const Kind& kind) {
        std::vector<State> states{State::Active, State::Configured, State::AfterAFault};
        if (kind.earlierFaults.size() > 1) {
            states.push_back(State::AfterAFailedStart);
        }
        return states;
    }

    void RunAll(const Kind& kind, Whose whose) {
        std::size_t all = 0;
        std::size_t good = 0;
        for (const Operation& operation : kOperations) {
            if (operation.op == Op::EnforceFTDI) {
                continue; // the same as RecheckStatus, for one kind
            }
            for (const State state : StatesOf(kind)) {
                for (const PlannedFault& planned : FaultsOf(kind, operation, state, whose)) {
                    const Case one{kind, operation, state, planned};
                    const std::string wrong = Try(one);
                    ++all;
                    good += wrong.empty() ? 1 : 0;
                    if (!wrong.empty() && all - good <= kMostComplaints) {
                        ADD_FAILURE() << Text(one) << ": " << wrong;
                    }
                }
            }
        }
        EXPECT_EQ(good, all);
        EXPECT_EQ(all, whose == Whose::System ? kind.failuresOfWindows : kind.failures);
        EXPECT_EQ(excused, whose == Whose::System ? kind.excusedOfWindows : kind.excused);
        std::cout << kind.name << ": " << good << " of " << all << " failures"
                  << kWhoseNames[static_cast<int>(whose)] << "; longest " << longest / kMillisecond
                  << " ms, trigger left high by a failed access " << leftHigh
                  << ", unrequested picture by wrong bytes " << unrequested
                  << ", new controller needed " << needNewController << ", replugging needed "
                  << needReplug;
        for (std::size_t i = 0; i < kExcuses; ++i) {
            std::cout << (i == 0 ? "; 0 and not as asked: " : ", ") << Name(static_cast<Excuse>(i))
                      << ' ' << excused[i];
        }
        std::cout << '\n';
    }

    static constexpr std::size_t kMostComplaints = 20;

    ControllerPtr controller;
    Observation healthy{};
    std::uint64_t longest = 0;
    std::size_t leftHigh = 0;
    std::size_t unrequested = 0;
    ExcuseCounts excused{};
    std::uint32_t capturesBefore = 0;
    bool wasHigh = false;
    std::size_t needNewController = 0;
    std::size_t needReplug = 0;
};

TEST_P(EveryFailureTest, IsSurvivedByEveryOperation) {
    RunAll(GetParam(), Whose::Vendors);
}

TEST_P(EveryFailureTest, OfWindowsIsSurvivedByEveryOperation) {
    RunAll(GetParam(), Whose::System);
}

INSTANTIATE_TEST_SUITE_P(Of, EveryFailureTest, testing::ValuesIn(Kinds()), TestName);

} // namespace
