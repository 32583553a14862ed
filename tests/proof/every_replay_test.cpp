/// What a host met is met again: every vendor call of every operation fails in every way that it
/// can, the session is recorded and replayed, and vendor calls, their answers, calls of Windows,
/// log lines and statuses are the same, line by line. So are those of the shipped scenarios, and
/// the simulated hardware answers every call of theirs as it has answered before.

#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>
#include <optional>

#include "compare.h"
#include "host_platform.h"
#include "library_on_the_rig.h"
#include "on_the_rig.h"
#include "planned_faults.h"
#include "proof_kinds.h"
#include "proof_operations.h"
#include "recorded_calls.h"
#include "replayer.h"
#include "stand_in.h"

namespace {

using namespace proof;
using namespace test;
using rig::record::Replayer;
using SLV::Internal::ControllerPtr;

constexpr std::uint64_t kSecond = 1'000'000'000;

/// With a latched flag every operation makes all its calls.
constexpr const char* kCamera = "[camera]\nmep_latched = true\nready_after_power_ms = 100\n";

/// The history of the hardware.
enum class State { Active, Configured, AfterAFault, AfterAFailedStart };

std::vector<State> StatesOf(const Kind& kind) {
    std::vector<State> states{State::Active, State::Configured, State::AfterAFault};
    if (kind.earlierFaults.size() > 1) {
        states.push_back(State::AfterAFailedStart);
    }
    return states;
}

std::unique_ptr<Replayer> current;

class EveryReplayTest : public OnTheRig, public testing::WithParamInterface<Kind> {
  protected:
    ~EveryReplayTest() override { rig::answerer = rig::Answer; }

    /// Hardware for a new process.
    void LoadHardware(State state) {
        const bool isActive = state == State::Active;
        Restart(std::string(GetParam().scenario) + kCamera +
                (isActive ? GetParam().activeOutputs : ""));
        if (isActive && GetParam().behaviour.isUsb) {
            LeaveOutputsActive();
            rig_journal_clear();
        }
    }

    void Restart(const std::string& scenario) {
        rig::answerer = rig::Answer; // the COM stand-in puts itself before whoever answers
        controller.reset();
        itsLogger.emplace(); // the last one may hold the beginning of a line
        itsLogger->Install(nullptr, [](void*, const char* line) {
            constexpr std::size_t kStamp = sizeof "[12:00:00.000]" - 1;
            rig_note(*line == '[' ? line + kStamp : line);
        });
        ResetProcessState();
        Load(scenario);
    }

    /// The new process begins.
    void Prepare(State state) {
        host::Advance(kSecond - host::Now() % kSecond); // the log asks the calendar every second
        controller = GetParam().make(*itsLogger);
        if (state == State::Configured) {
            controller->CheckAvailable();
        } else if (state != State::Active) {
            const EarlierFault& fault =
                GetParam().earlierFaults[state == State::AfterAFault ? 0 : 1];
            if (fault.isConfigured) {
                controller->CheckAvailable();
            }
            FailStatus(fault.function, 1, fault.status);
            if (!fault.isConfigured) {
                controller->CheckAvailable();
            }
        }
    }

    void Operate(const Operation& operation) {
        short answer = kUntouched;
        short status = 0;
        if (operation.op == Op::RecheckStatus) {
            std::exchange(controller, GetParam().make(*itsLogger)).reset();
            status = controller->CheckAvailable();
        } else {
            status = operation.run(*controller, &answer);
        }
        rig_note((std::to_string(status) + ' ' + std::to_string(answer)).c_str());
    }

    std::vector<PlannedFault> FaultsOf(const Operation& operation, State state) {
        LoadHardware(state);
        Prepare(state);
        const CallCount calls;
        Operate(operation);
        return calls.OfVendors(GetParam());
    }

    /// Whether the session is the same again.
    bool IsReplayed(const Operation& operation, State state, const PlannedFault* planned) {
        std::string text;
        Journal first;
        {
            LoadHardware(state);
            const RecordedCalls recorded;
            Prepare(state);
            if (planned != nullptr) {
                Arm(*planned);
            }
            Operate(operation);
            controller.reset();
            first = TakeJournal();
            text = recorded.Text();
        }
        Restart(rig::record::ScenarioOfPorts({}));
        current = std::make_unique<Replayer>(rig::record::ReadRecording(text),
                                             rig::record::ReplayOptions{});
        rig::answerer = [](rig::Call& call) { current->Answer(call); };
        Prepare(state);
        Operate(operation);
        controller.reset();
        rig::answerer = rig::Answer;
        const Journal second = TakeJournal();
        EXPECT_EQ(first, second);
        EXPECT_TRUE(current->IsFollowed()) << current->Report();
        entries += first.size();
        return first == second && current->IsFollowed();
    }

    std::size_t entries = 0;

  private:
    std::optional<SLV::Internal::Logger> itsLogger;
    ControllerPtr controller;
};

TEST_P(EveryReplayTest, EveryVendorFailureOfEveryOperation) {
    std::size_t failures = 0;
    std::size_t same = 0;
    for (const Operation& operation : kOperations) {
        if (operation.op == Op::EnforceFTDI) {
            continue; // the same as RecheckStatus, for one kind
        }
        for (const State state : StatesOf(GetParam())) {
            ASSERT_TRUE(IsReplayed(operation, state, nullptr)) << operation.name;
            for (const PlannedFault& planned : FaultsOf(operation, state)) {
                ++failures;
                same += IsReplayed(operation, state, &planned) ? 1 : 0;
                ASSERT_EQ(same, failures) << operation.name << ", " << Text(planned);
            }
        }
    }
    EXPECT_EQ(failures, GetParam().failures);
    std::cout << GetParam().name << ": " << same << " of " << failures << " failures, in "
              << entries << " entries, are the same again\n";
}

/// The whole library, from the selection of a controller on, on the scenarios that are shipped.
class ShippedScenarioTest : public LibraryOnTheRig {
  protected:
    ShippedScenarioTest() {
        SLV::Internal::GetLibraryState().logger.Install(nullptr, LogToJournal);
        SLV::Internal::GetLibraryState().controller.reset();
    }
    ~ShippedScenarioTest() override { rig::answerer = rig::Answer; }

    static Journal RunHost() {
        RestartLibrary();
        for (const Operation& operation : kOperations) {
            std::int16_t answer = kUntouched;
            const std::int16_t status = CallExport(operation, &answer);
            rig_note((std::to_string(status) + ' ' + std::to_string(answer)).c_str());
            host::Advance(kSecond / 100);
        }
        SLV::Internal::GetLibraryState().controller.reset();
        return TakeJournal();
    }

    static std::string ContentOf(const std::filesystem::path& path) {
        std::ifstream file(path);
        return {std::istreambuf_iterator<char>(file), {}};
    }
};

void ExpectTheSame(const rig::record::Comparison& comparison, const std::filesystem::path& path) {
    EXPECT_EQ(comparison.unreturned + comparison.unopened, 0U) << path;
    for (const auto& difference : comparison.differences) {
        ADD_FAILURE() << path << ", call " << difference.number << ' ' << difference.question
                      << ": " << difference.recorded << ", " << difference.simulated;
    }
}

TEST_F(ShippedScenarioTest, IsReplayedAndTheModelIsAsItself) {
    std::size_t scenarios = 0;
    std::size_t calls = 0;
    for (const auto& entry : std::filesystem::directory_iterator(SCENARIO_DIRECTORY)) {
        const std::string scenario = ContentOf(entry.path());
        Load(scenario);
        std::string text;
        Journal first;
        {
            rig::answerer = rig::Answer;
            const RecordedCalls recorded;
            first = RunHost();
            text = recorded.Text();
        }
        rig::answerer = rig::Answer;
        const rig::record::Recording recording = rig::record::ReadRecording(text);
        Load(rig::record::ScenarioOfPorts({}));
        current = std::make_unique<Replayer>(recording, rig::record::ReplayOptions{});
        rig::answerer = [](rig::Call& call) { current->Answer(call); };
        const Journal second = RunHost();
        rig::answerer = rig::Answer;
        EXPECT_EQ(first, second) << entry.path();
        EXPECT_TRUE(current->IsFollowed()) << entry.path() << ": " << current->Report();

        ExpectTheSame(rig::record::Compare(recording, scenario), entry.path());
        ExpectTheSame(rig::record::Compare(recording), entry.path());
        ++scenarios;
        calls += recording.calls.size();
    }
    EXPECT_EQ(scenarios, 10U);
    EXPECT_EQ(calls, 1022U);
    std::cout << scenarios << " scenarios of " << calls << " calls, all the same again\n";
}

INSTANTIATE_TEST_SUITE_P(Kinds, EveryReplayTest, testing::ValuesIn(Kinds()), TestName);

} // namespace
