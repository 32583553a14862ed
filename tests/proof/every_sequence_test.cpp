/// Every sequence of three calls (four with SOLVANE_LONG=1) of the exported functions, compared
/// with the host model: after each call the status, the answer, all lines, the captures and the
/// time, after the last one every edge with its time.

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <iostream>

#include "host_platform.h"
#include "library_on_the_rig.h"
#include "proof_kinds.h"

namespace {

using namespace proof;
using namespace test;

constexpr std::uint64_t kNanosecondsPerMillisecond = 1'000'000;

const CameraStart kCameras[] = {
    {.name = "ready"},
    {.name = "unpowered and dark, flag latched",
     .flagLatched = true,
     .pulledDark = true,
     .pulledOn = false,
     .exposure = 40,
     .readyAfterPower = 1},
    {.name = "asleep, flag stuck", .asleep = true, .flagStuck = true, .exposure = 5},
};

std::string Text(const Outcome& outcome) {
    return "status " + std::to_string(outcome.status) + ", answer " +
           std::to_string(outcome.answer);
}

std::string Text(const std::vector<Edge>& edges) {
    std::string text;
    for (const Edge& edge : edges) {
        text += std::to_string(edge.at) + " ms " + rig_line_name(edge.line) +
                (edge.level ? " 1; " : " 0; ");
    }
    return text;
}

/// Edges of the same moment have no order.
std::vector<Edge> Sorted(std::vector<Edge> edges) {
    std::ranges::sort(edges);
    return edges;
}

std::vector<Edge> EdgesOnTheRig() {
    std::vector<Edge> edges;
    rig_entry entry{};
    for (std::size_t i = 0; rig_journal_entry(i, &entry) == 0; ++i) {
        if (entry.kind != RIG_EDGE) {
            continue;
        }
        const std::string_view text = entry.text;
        for (int line = 0; line < RIG_LINE_COUNT; ++line) {
            if (text.substr(0, text.size() - 2) == rig_line_name(static_cast<rig_line>(line))) {
                edges.push_back({entry.time / kNanosecondsPerMillisecond,
                                 static_cast<rig_line>(line), text.back() == '1'});
            }
        }
    }
    return Sorted(std::move(edges));
}

class EverySequenceTest : public LibraryOnTheRig {
  protected:
    using Sequence = std::vector<const Operation*>;
    using Call = std::function<short(const Operation&, short*)>;

    EverySequenceTest() { host::Record(false); }

    /// The difference from the model; empty if there is none.
    static std::string Difference(const Sequence& sequence, const Call& call, HostModel& model) {
        for (const Operation* operation : sequence) {
            short answer = kUntouched;
            const short status = call(*operation, &answer);
            const Outcome outcome{status, answer};
            if (const Outcome expected = model.Run(operation->op); outcome != expected) {
                return std::string(operation->name) + ": " + Text(outcome) + " instead of " +
                       Text(expected);
            }
            if (const std::string difference = LineDifference(model.camera); !difference.empty()) {
                return std::string(operation->name) + ": " + difference;
            }
        }
        const std::vector<Edge> edges = EdgesOnTheRig();
        const std::vector<Edge> expected = Sorted(model.camera.edges);
        return edges == expected ? "" : "edges " + Text(edges) + "instead of " + Text(expected);
    }

    static std::string LineDifference(const CameraModel& camera) {
        for (int i = 0; i < RIG_LINE_COUNT; ++i) {
            const auto line = static_cast<rig_line>(i);
            if ((rig_level(line) != 0) != camera.Level(line)) {
                return std::string("level of ") + rig_line_name(line);
            }
        }
        if (rig_captures() != camera.Captures()) {
            return "captures";
        }
        return rig_time() == camera.Now() * kNanosecondsPerMillisecond
                   ? ""
                   : "time " + std::to_string(rig_time()) + " ns";
    }

    static Sequence SequenceOf(std::size_t number, int length) {
        Sequence sequence;
        for (int i = 0; i < length; ++i) {
            sequence.push_back(&kOperations[number % kOperations.size()]);
            number /= kOperations.size();
        }
        return sequence;
    }

    static void RunAll(const char* name, const std::string& hardware, const Behaviour& behaviour,
                       const CameraStart& camera, int length = Length()) {
        std::size_t all = 1;
        for (int i = 0; i < length; ++i) {
            all *= kOperations.size();
        }
        std::size_t good = 0;
        const std::string scenario = hardware + camera.Scenario();
        for (std::size_t number = 0; number < all && number - good < 5; ++number) {
            const Sequence sequence = SequenceOf(number, length);
            StartLibrary(scenario);
            HostModel model(behaviour, camera);
            model.Select();
            const std::string difference = Difference(sequence, CallExport, model);
            good += difference.empty() ? 1 : 0;
            EXPECT_EQ(difference, "")
                << name << ", camera " << camera.name << ": " << Names(sequence);
        }
        EXPECT_EQ(good, all);
        std::cout << name << ", camera " << camera.name << ": " << good << " of " << all
                  << " sequences of " << length << '\n';
    }

    static int Length() { return std::getenv("SOLVANE_LONG") != nullptr ? 4 : 3; }

    static std::string Names(const Sequence& sequence) {
        std::string names;
        for (const Operation* operation : sequence) {
            names += std::string(operation->name) + "; ";
        }
        return names;
    }
};

class EverySequenceOfAKindTest : public EverySequenceTest,
                                 public testing::WithParamInterface<Kind> {
  protected:
    std::string FreshDifference(const CameraStart& camera, bool isAbsent, const Operation& first,
                                const Operation& second) {
        ResetProcessState();
        Load((isAbsent ? GetParam().lookAlike : GetParam().scenario) + camera.Scenario());
        const SLV::Internal::ControllerPtr controller = GetParam().make(logger);
        const Behaviour& behaviour = GetParam().behaviour;
        HostModel model(isAbsent ? behaviour.Absent() : behaviour, camera);
        if (first.hasAnswer) {
            const short status = first.run(*controller, nullptr);
            const short expected = model.Run(first.op, false).status;
            if (status != expected) {
                return "null pointer: status " + std::to_string(status);
            }
        }
        const auto call = [&](const Operation& operation, short* answer) {
            return operation.run(*controller, answer);
        };
        return Difference({&first, &second}, call, model);
    }
};

TEST_P(EverySequenceOfAKindTest, IsAsTheModelSays) {
    for (const CameraStart& camera : kCameras) {
        RunAll(GetParam().name, GetParam().scenario, GetParam().behaviour, camera);
    }
}

/// Any call may be the first: it configures the hardware or reports its absence, and looks at a
/// null pointer only then.
TEST_P(EverySequenceOfAKindTest, IsAsTheModelSaysOnAFreshController) {
    std::size_t all = 0;
    std::size_t good = 0;
    for (const CameraStart& camera : kCameras) {
        for (const bool isAbsent : {false, true}) {
            for (const Operation& first : kControllerOperations) {
                for (const Operation& second : kControllerOperations) {
                    const std::string difference = FreshDifference(camera, isAbsent, first, second);
                    EXPECT_EQ(difference, "") << first.name << "; " << second.name << ", camera "
                                              << camera.name << (isAbsent ? ", absent" : "");
                    ++all;
                    good += difference.empty() ? 1 : 0;
                }
            }
        }
    }
    EXPECT_EQ(all, 1'734u);
    std::cout << GetParam().name << ": " << good << " of " << all
              << " pairs on a fresh controller\n";
}

/// Powers and dark stay as the last process left them, unless configuring switches them.
TEST_P(EverySequenceOfAKindTest, IsAsTheModelSaysInANewProcess) {
    std::size_t all = 0;
    std::size_t good = 0;
    for (const CameraStart& camera : kCameras) {
        for (const Operation& first : kOperations) {
            for (const Operation& second : kOperations) {
                StartLibrary(GetParam().scenario + camera.Scenario());
                HostModel model(GetParam().behaviour, camera);
                model.Select();
                std::string difference = Difference({&first}, CallExport, model);
                RestartLibrary();
                model.Restart();
                difference += Difference({&second}, CallExport, model);
                EXPECT_EQ(difference, "") << first.name << "; a new process; " << second.name
                                          << ", camera " << camera.name;
                ++all;
                good += difference.empty() ? 1 : 0;
            }
        }
    }
    EXPECT_EQ(all, 1'083u);
    std::cout << GetParam().name << ": " << good << " of " << all << " pairs of processes\n";
}

INSTANTIATE_TEST_SUITE_P(On, EverySequenceOfAKindTest, testing::ValuesIn(Kinds()), TestName);

TEST_F(EverySequenceTest, WithoutHardwareIsAsTheModelSays) {
    RunAll("no hardware", "", Behaviour().Absent(), kCameras[0]);
}

TEST_F(EverySequenceTest, OnLookAlikeHardwareIsAsWithoutHardware) {
    constexpr int kTwo = 2; // without hardware there is no state to remember
    RunAll("look-alikes",
           "[superio]\nid = 0xC552\n[eapi]\ngpios = 7\n[lpt]\npresence_wire = false\n"
           "[[usb]]\nchip = \"FT2232D\"\n[[usb]]\nchip = \"FT232H\"\nserial = \"B\"\n",
           Behaviour().Absent(), kCameras[0], kTwo);
}

} // namespace
