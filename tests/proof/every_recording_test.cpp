/// What a recording shows, against what the rig knows: a host is recorded on the rig, as if that
/// were real hardware, and the lines are worked out from the bytes that went over.

#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>

#include "host_platform.h"
#include "library_on_the_rig.h"
#include "planned_faults.h"
#include "proof_kinds.h"
#include "proof_operations.h"
#include "recorded_calls.h"
#include "recorded_lines.h"
#include "recorded_scenario.h"
#include "stand_in.h"

namespace {

using namespace proof;
using namespace test;
using rig::record::LineChange;
using rig::record::Recording;

constexpr std::uint64_t kMillisecond = 1'000'000;

/// An entry of the rig's journal.
struct Entry {
    std::uint64_t microseconds;
    rig_entry_kind kind;
    std::string text;
};

std::vector<Entry> TakeRigJournal() {
    std::vector<Entry> journal;
    rig_entry entry{};
    for (std::size_t i = 0; rig_journal_entry(i, &entry) == 0; ++i) {
        journal.push_back({entry.time / 1000, entry.kind, entry.text});
    }
    rig_journal_clear();
    return journal;
}

constexpr const char* kLineNames[] = {
    "trigger", "ready", "mep", "clear_mep", "dark", "camera_power", "accessories_power"};

struct Edge {
    std::uint64_t microseconds;
    bool level;
    std::size_t calls; ///< how many calls had returned before
    bool operator==(const Edge&) const = default;
};

std::vector<Edge> EdgesOf(const std::vector<Entry>& journal, rig_line line) {
    std::vector<Edge> edges;
    std::size_t calls = 0;
    for (const Entry& entry : journal) {
        calls += entry.kind == RIG_CALL ? 1 : 0;
        if (entry.kind == RIG_EDGE && entry.text.starts_with(std::string(kLineNames[line]) + ' ')) {
            edges.push_back({entry.microseconds, entry.text.back() == '1', calls});
        }
    }
    return edges;
}

/// How much of what happened was compared.
struct Counts {
    std::size_t calls = 0;
    std::size_t outputEdges = 0; ///< shown with their microsecond
    std::size_t undriven = 0;    ///< while no chip drove the line, or before anybody noticed it
    std::size_t samples = 0;     ///< of inputs
    std::size_t captures = 0;    ///< that the host's questions showed
    bool operator==(const Counts&) const = default;
};

std::ostream& operator<<(std::ostream& stream, const Counts& counts) {
    return stream << counts.calls << " calls, " << counts.outputEdges << " edges of outputs, "
                  << counts.undriven << " of lines that nobody drove, " << counts.samples
                  << " looks at inputs, " << counts.captures << " captures";
}

class EveryRecordingTest : public LibraryOnTheRig {
  protected:
    /// A host that calls every function, with time between them.
    static void RunHost() {
        RestartLibrary();
        for (int round = 0; round < 2; ++round) {
            for (const Operation& operation : kOperations) {
                std::int16_t answer = kUntouched;
                CallExport(operation, &answer);
                host::Advance(30 * kMillisecond);
                CallExport(operation, &answer);
            }
        }
    }

    struct Session {
        std::array<bool, RIG_LINE_COUNT> start;
        Recording recording;
        std::vector<Entry> journal;
    };

    static Session Record(const std::string& scenario) {
        SLV::Internal::GetLibraryState().controller.reset();
        Load(scenario);
        Session session{};
        for (std::size_t line = 0; line < RIG_LINE_COUNT; ++line) {
            session.start[line] = rig_level(static_cast<rig_line>(line)) == 1;
        }
        rig::answerer = rig::Answer; // COM's stand-in comes before the recorder again
        const RecordedCalls recorded;
        RunHost();
        session.recording = rig::record::ReadRecording(recorded.Text());
        session.journal = TakeRigJournal();
        return session;
    }

    static std::vector<std::string> CallsOf(const std::vector<Entry>& journal) {
        std::vector<std::string> calls;
        for (const Entry& entry : journal) {
            if (entry.kind == RIG_CALL) {
                calls.push_back(entry.text);
            }
        }
        return calls;
    }

    /// Compares the edges of a line that the host drives.
    static void CompareOutput(const Session& session, const std::vector<LineChange>& changes,
                              rig_line line, Counts& counts) {
        const std::vector<Edge> edges = EdgesOf(session.journal, line);
        auto edge = edges.begin();
        bool level = session.start[line];
        std::optional<bool> shown;
        for (const LineChange& change : changes) {
            if (change.line != line) {
                continue;
            }
            const std::size_t call = change.call;
            if (!shown || !change.level) { // what the line did while nobody drove it
                for (; edge != edges.end() && edge->calls < call; ++edge) {
                    level = edge->level;
                    ++counts.undriven;
                }
            }
            if (change.level && *change.level != level) {
                ASSERT_NE(edge, edges.end()) << kLineNames[line] << " at " << change.time;
                EXPECT_EQ(*edge, (Edge{change.time, *change.level, call})) << kLineNames[line];
                level = edge->level;
                ++edge;
                ++counts.outputEdges;
            } else if (!change.level && edge != edges.end() && edge->calls == call) {
                level = edge->level; // to its pull
                ++edge;
                ++counts.undriven;
            }
            shown = change.level;
        }
        for (; !shown && edge != edges.end(); ++edge) {
            ++counts.undriven;
        }
        EXPECT_EQ(edge, edges.end()) << kLineNames[line] << " has more edges";
    }

    static bool LevelBefore(const Session& session, rig_line line, std::size_t call) {
        bool level = session.start[line];
        for (const Edge& edge : EdgesOf(session.journal, line)) {
            level = edge.calls <= call ? edge.level : level;
        }
        return level;
    }

    static Counts Compare(const Session& session) {
        const rig::record::RecordedLines lines = LinesOf(session.recording);
        Counts counts;
        counts.calls = session.recording.calls.size();
        for (const rig_line line :
             {RIG_TRIGGER, RIG_CLEAR_MEP, RIG_DARK, RIG_CAMERA_POWER, RIG_ACCESSORIES_POWER}) {
            CompareOutput(session, lines.changes, line, counts);
        }
        for (const auto& sample : lines.samples) {
            EXPECT_EQ(sample.level, LevelBefore(session, sample.line, sample.call))
                << kLineNames[sample.line] << " at " << sample.time;
            ++counts.samples;
        }
        for (const auto& event : lines.events) {
            const bool isCapture = event.text == "capture";
            counts.captures += isCapture ? 1 : 0;
            const auto same = std::ranges::find_if(session.journal, [&](const Entry& entry) {
                return entry.kind == RIG_EVENT && entry.text.starts_with("capture ") &&
                       entry.microseconds == event.time;
            });
            EXPECT_TRUE(!isCapture || same != session.journal.end()) << event.time;
        }
        return counts;
    }
};

std::string ContentOf(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// What a host that calls every function shows of each scenario.
const std::map<std::string, Counts> kShown = {
    {"eapi.toml", {184, 18, 0, 8, 1}},         {"lpt.toml", {237, 26, 0, 56, 2}},
    {"mep_latched.toml", {388, 26, 4, 46, 1}}, {"no_hardware.toml", {118, 0, 0, 0, 0}},
    {"not_ready.toml", {372, 16, 4, 42, 0}},   {"slow_camera.toml", {377, 18, 4, 44, 1}},
    {"superio.toml", {440, 18, 0, 146, 2}},    {"unplug_during_trigger.toml", {380, 19, 3, 40, 2}},
    {"usb.toml", {386, 24, 4, 46, 2}},         {"wake_with_dark_on.toml", {372, 14, 6, 42, 0}},
};

TEST_F(EveryRecordingTest, ShowsTheLinesOfEveryShippedScenario) {
    std::map<std::string, Counts> shown;
    for (const auto& file : std::filesystem::directory_iterator(SCENARIO_DIRECTORY)) {
        const std::string name = file.path().filename().string();
        SCOPED_TRACE(name);
        shown[name] = Compare(Record(ContentOf(file.path())));
    }
    EXPECT_EQ(shown, kShown);
}

TEST_F(EveryRecordingTest, ShowsWhenAChipLeavesAndWhenItIsBack) {
    const Session session =
        Record(ContentOf(std::filesystem::path(SCENARIO_DIRECTORY) / "unplug_during_trigger.toml"));
    std::vector<std::string> events;
    for (const auto& event : LinesOf(session.recording).events) {
        events.push_back(std::to_string(event.time) + ' ' + event.text);
    }
    // It is noticed by the write that it happens before. It is back at 500 ms, which shows when the
    // host looks the next time.
    ASSERT_GE(events.size(), 3U);
    EXPECT_EQ(events[0], "120000 capture");
    EXPECT_EQ(events[1], "132000 unplug 0");
    EXPECT_TRUE(events[2].ends_with(" plug 0")) << events[2];
    EXPECT_GE(std::stoi(events[2]), 500'000);
    EXPECT_LT(std::stoi(events[2]), 530'000);
}

/// As the real hardware's recorder writes it: it does not see the calls of WMI, but what WMI says.
Recording WithoutWmi(const Recording& all, bool hasPort) {
    Recording recording;
    recording.head.system = "Windows";
    if (hasPort) {
        recording.head.ports = {{rig::Value("LPT1"), {rig::Value("888")}}};
    }
    for (const auto& recorded : all.calls) {
        if (&recorded.call.function.library != &rig::kWmi) {
            recording.calls.push_back(recorded);
        }
    }
    return recording;
}

bool IsOfWmi(const std::string& call) {
    return call.find("::") != std::string::npos;
}

TEST_F(EveryRecordingTest, HasAScenarioInWhichTheHostMeetsTheSame) {
    std::size_t same = 0;
    for (const auto& file : std::filesystem::directory_iterator(SCENARIO_DIRECTORY)) {
        SCOPED_TRACE(file.path().filename());
        const Session session = Record(ContentOf(file.path()));
        for (const bool hasWmi : {true, false}) {
            const Recording recording =
                hasWmi ? session.recording
                       : WithoutWmi(session.recording, file.path().stem() == "lpt");
            const auto scenario = ScenarioOf(recording);
            EXPECT_EQ(scenario.calls, recording.calls.size());
            EXPECT_EQ(scenario.others.size(), 0U);
            SLV::Internal::GetLibraryState().controller.reset();
            Load(scenario.text);
            RunHost();
            auto was = CallsOf(session.journal);
            auto is = CallsOf(TakeRigJournal());
            if (!hasWmi) {
                std::erase_if(was, IsOfWmi);
                std::erase_if(is, IsOfWmi);
            }
            EXPECT_EQ(is, was) << scenario.text;
            same += is == was ? 1 : 0;
        }
    }
    EXPECT_EQ(same, 2 * kShown.size());
}

class EveryRecordedFailureTest : public OnTheRig, public testing::WithParamInterface<Kind> {
  protected:
    EveryRecordedFailureTest() {
        host::Record(false);
        logger.Install(nullptr, [](void* context, const char*) { static_cast<void>(context); });
    }
    ~EveryRecordedFailureTest() override { rig::answerer = rig::Answer; }

    void Operate(const Operation& operation) {
        if (operation.op == Op::RecheckStatus) {
            controller.reset();
            controller = GetParam().make(logger);
            controller->CheckAvailable();
        } else {
            short answer = kUntouched;
            operation.run(*controller, &answer);
        }
    }

    /// A host that uses the hardware before, during and after the fault.
    void RunHost(const Operation& operation, const PlannedFault* planned) {
        controller.reset();
        ResetProcessState();
        controller = GetParam().make(logger);
        controller->CheckAvailable();
        if (planned != nullptr) {
            ASSERT_TRUE(Arm(*planned));
        }
        Operate(operation);
        host::Advance(60 * kMillisecond);
        short answer = kUntouched;
        controller->CheckSystemReady(&answer);
        controller->TriggerCapture();
        controller->CloseDevice();
        controller.reset();
    }

    std::vector<PlannedFault> FaultsOf(const Operation& operation) {
        controller.reset();
        Load(GetParam().scenario);
        ResetProcessState();
        controller = GetParam().make(logger);
        controller->CheckAvailable();
        const CallCount calls;
        Operate(operation);
        return calls.OfVendors(GetParam());
    }

    /// Whether the host, on the scenario of a recording, makes these calls and gets these answers.
    bool MeetsTheSame(const Operation& operation, const Recording& recording,
                      const Journal& calls) {
        const auto scenario = ScenarioOf(recording);
        Load(scenario.text);
        RunHost(operation, nullptr);
        Journal now = TakeEntries({RIG_CALL});
        if (now.size() != calls.size()) {
            std::erase_if(now, IsOfWmi);
        }
        EXPECT_EQ(now, calls) << scenario.text;
        return now == calls && scenario.others.empty();
    }

    SLV::Internal::ControllerPtr controller;
};

TEST_P(EveryRecordedFailureTest, HasAScenarioInWhichTheHostMeetsTheSame) {
    std::size_t all = 0;
    std::size_t same = 0;
    constexpr std::size_t kMostComplaints = 3;
    for (const Operation& operation : kOperations) {
        if (operation.op == Op::EnforceFTDI) {
            continue;
        }
        for (const PlannedFault& planned : FaultsOf(operation)) {
            controller.reset();
            Load(GetParam().scenario);
            Recording recording;
            {
                rig::answerer = rig::Answer; // COM's stand-in comes before the recorder again
                const RecordedCalls recorded;
                RunHost(operation, &planned);
                recording = rig::record::ReadRecording(recorded.Text());
            }
            const Journal first = TakeEntries({RIG_CALL});
            ++all;
            same += MeetsTheSame(operation, recording, first) ? 1 : 0;
            EXPECT_EQ(same, all) << Text(planned) << " in " << operation.name;
            const bool isOfPort = planned.function == "Inp32" || planned.function == "Out32";
            if (isOfPort && GetParam().scenario == std::string(kLptCamera)) {
                Journal ports = first;
                std::erase_if(ports, IsOfWmi);
                ++all;
                same += MeetsTheSame(operation, WithoutWmi(recording, true), ports) ? 1 : 0;
                EXPECT_EQ(same, all) << Text(planned) << " in " << operation.name << ", no WMI";
            }
            ASSERT_LT(all - same, kMostComplaints);
        }
    }
    static const std::map<std::string, std::size_t> kFailures = {
        {"FT2232H", 843}, {"Super I/O", 606}, {"Embedded API", 366}, {"Parallel port", 346 + 232}};
    EXPECT_EQ(all, kFailures.at(GetParam().name));
    EXPECT_EQ(same, all);
}

INSTANTIATE_TEST_SUITE_P(Kinds, EveryRecordedFailureTest, testing::ValuesIn(Kinds()), TestName);

} // namespace
