/// solvane check on installations with one fault each. The expected results are in the tables of
/// docs/check.md, and nowhere else.

#include <fstream>
#include <map>
#include <sstream>

#include "checked.h"
#include "host_platform.h"
#include "library_state.h"

namespace test {
namespace {

using host::DriverState;
using host::Needs;
using host::Outcome;
using testing::AnyOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

struct Kind {
    const char* name;
    const char* scenario;
    const char* healthy; ///< verdict without a fault
};

// Only the FT2232H reads back every line that it drives, so only its check is complete.
const std::vector<Kind> kKinds{{"FT2232H", "[[usb]]\nchip = 'FT2232H'\n", "PASS"},
                               {"Embedded API", "[eapi]\n", "INCOMPLETE PASS"},
                               {"Super I/O", "[superio]\n", "INCOMPLETE PASS"},
                               {"parallel port", "[lpt]\n", "INCOMPLETE PASS"}};

class CheckTest : public CheckOnTheRig {
  protected:
    static Checked CheckWith(const Kind& kind, const std::string& fault) {
        CheckPlan plan;
        plan.scenario = kind.scenario + fault;
        return Check(plan);
    }
};

TEST_F(CheckTest, HealthyInstallationsPassAndNothingBlindIsCalledOk) {
    for (const Kind& kind : kKinds) {
        const Checked checked = CheckWith(kind, "");
        EXPECT_EQ(checked.result.Verdict(), kind.healthy) << kind.name;
        const std::string blind = kind.name == kKinds[0].name ? "ok" : "not tested";
        EXPECT_EQ(checked.Outcome("rest"), blind) << kind.name;
        EXPECT_EQ(checked.Outcome("dark"), blind) << kind.name;
        EXPECT_EQ(checked.Outcome("accessories_power"), blind) << kind.name;
        EXPECT_EQ(checked.Outcome("wake"), "note") << "it was awake: nothing is proved";
        EXPECT_EQ(checked.Outcome("camera_power"), "ok") << "ready tells of it on every kind";
        EXPECT_EQ(checked.Outcome("capture"), "ok") << kind.name;
        EXPECT_EQ(checked.Step("captures").seen[0],
                  "given 3, refused 0, confirmed by ready 3, by the flag 3");
        EXPECT_EQ(checked.pictures, 4u) << "nothing but the captures takes pictures";
        EXPECT_THAT(checked.result.notSeen, Not(IsEmpty()));
    }
}

TEST_F(CheckTest, LinesAreLeftAsTheyWereFound) {
    for (const Kind& kind : kKinds) {
        const Checked checked = CheckWith(kind, "");
        EXPECT_EQ(checked.dark, 0) << kind.name;
        EXPECT_EQ(checked.cameraPower, 1) << kind.name;
        EXPECT_EQ(checked.accessoriesPower, 1) << kind.name;
        EXPECT_EQ(checked.trigger, 0) << kind.name;
    }
    // These kinds keep the levels that the last host left.
    for (const Kind& kind : {kKinds[0], kKinds[3]}) {
        const Checked checked =
            CheckWith(kind, "[pulls]\ndark = 1\ncamera_power = 0\naccessories_power = 0\n");
        EXPECT_EQ(checked.dark, 1) << kind.name;
        EXPECT_EQ(checked.cameraPower, 0) << kind.name;
        EXPECT_EQ(checked.accessoriesPower, 0) << kind.name;
    }
}

TEST_F(CheckTest, StopLeavesTheLinesAsTheyWereFound) {
    for (const Kind& kind : kKinds) {
        int stopped = 0;
        for (std::uint64_t ms = 10; ms < 3000; ms += 70) {
            CheckPlan plan;
            plan.scenario = kind.scenario;
            plan.stopAfterMs = ms;
            const Checked checked = Check(plan);
            stopped += checked.result.steps.empty() ? 1 : 0; // stopped before there was a result
            EXPECT_EQ(checked.dark, 0) << kind.name << ms;
            EXPECT_EQ(checked.cameraPower, 1) << kind.name << ms;
            EXPECT_EQ(checked.accessoriesPower, 1) << kind.name << ms;
            EXPECT_EQ(checked.trigger, 0) << kind.name << ms;
        }
        EXPECT_GT(stopped, 20) << kind.name;
    }
}

TEST_F(CheckTest, WhatNobodyAllowsIsNotDone) {
    CheckPlan plan;
    plan.scenario = kKinds[0].scenario;
    plan.refused = {Needs::power};
    Checked checked = Check(plan);
    EXPECT_EQ(checked.result.Verdict(), "INCOMPLETE PASS");
    EXPECT_EQ(checked.Outcome("camera_power"), "not tested");
    EXPECT_EQ(checked.Step("camera_power").advice, "nobody allowed it");

    plan.refused = {Needs::power, Needs::lines};
    checked = Check(plan);
    EXPECT_EQ(checked.result.Verdict(), "INCOMPLETE PASS");
    EXPECT_EQ(checked.pictures, 0u);
    EXPECT_EQ(checked.Outcome("ready_follows"), "not tested") << "it was there all the time";
}

TEST_F(CheckTest, ShortExposureIsNoFailure) {
    for (const Kind& kind : kKinds) {
        for (const int exposure : {0, 1, 5, 13, 14, 15, 100, 1500}) {
            const Checked checked =
                CheckWith(kind, "[camera]\nexposure_ms = " + std::to_string(exposure) + "\n");
            EXPECT_EQ(checked.result.Verdict(), kind.healthy) << kind.name << exposure;
        }
    }
}

TEST_F(CheckTest, IntervalsHoldWhatTheCameraDid) {
    for (const Kind& kind : kKinds) {
        for (const int exposure : {20, 25, 40, 333}) {
            const Checked checked =
                CheckWith(kind, "[camera]\nexposure_ms = " + std::to_string(exposure) + "\n");
            for (const char* const what : {"ready_returned_ms", "flag_ms"}) {
                const auto& interval = checked.Step("capture").times[what];
                EXPECT_LE(interval[0].get<double>(), exposure) << kind.name << what;
                EXPECT_GE(interval[1].get<double>(), exposure) << kind.name << what;
            }
        }
    }
}

TEST_F(CheckTest, SleepingCameraIsWokenAndLatchedFlagCleared) {
    for (const Kind& kind : kKinds) {
        const Checked asleep = CheckWith(kind, "[camera]\nasleep = true\n");
        if (std::string(kind.name) != "parallel port") { // its configuration wakes the camera, too
            EXPECT_EQ(asleep.result.Verdict(), kind.healthy) << kind.name;
        }
        if (std::string(kind.name) == "FT2232H") {
            EXPECT_EQ(asleep.Outcome("wake"), "ok") << "it was seen to wake";
        }
        const Checked latched = CheckWith(kind, "[camera]\nmep_latched = true\n");
        EXPECT_EQ(latched.result.Verdict(), kind.healthy) << kind.name;
    }
}

TEST_F(CheckTest, WithoutHardwareNothingIsTestedAndEachKindHasItsReason) {
    CheckPlan plan;
    const Checked checked = Check(plan);
    EXPECT_EQ(checked.result.Verdict(), "INCOMPLETE FAIL");
    EXPECT_EQ(checked.result.cause.id, "no_hardware");
    EXPECT_EQ(checked.Step("kinds").seen.size(), 4u);
    EXPECT_EQ(checked.Outcome("capture"), "not tested");
}

/// For each fault, the result of the check on each kind: a cause, or that the fault is not seen.
using Table = std::map<std::string, std::vector<std::string>>;

Table TableOf(const std::string& firstCell) {
    std::ifstream document(CHECK_DOCUMENT);
    Table table;
    bool isIn = false;
    for (std::string line; std::getline(document, line);) {
        isIn = isIn ? line.starts_with("|") : line.starts_with("| " + firstCell + " ");
        if (!isIn) {
            continue;
        }
        std::vector<std::string> cells;
        std::istringstream text(line.substr(1));
        for (std::string cell; std::getline(text, cell, '|');) {
            std::erase(cell, '`');
            cell.erase(0, cell.find_first_not_of(' '));
            cell.erase(cell.find_last_not_of(' ') + 1);
            cells.push_back(cell);
        }
        table[cells[0]] = {cells.begin() + 1, cells.end()};
    }
    return table;
}

/// The scenario of a fault: "trigger broken" becomes trigger = 'broken' under [wiring].
std::string ScenarioOf(const std::string& fault) {
    const std::size_t blank = fault.find(' ');
    return "[wiring]\n" + fault.substr(0, blank) + " = '" + fault.substr(blank + 1) + "'\n";
}

constexpr const char* kNotSeen = "not seen";
constexpr const char* kNoWire = "no wire";

std::string CellOf(const Checked& checked) {
    return checked.result.hasFailed ? checked.result.cause.id : kNotSeen;
}

constexpr const char* kWires[] = {"trigger",
                                  "ready",
                                  "mep",
                                  "clear_mep",
                                  "dark",
                                  "camera_power",
                                  "accessories_power",
                                  "dark_back",
                                  "camera_power_back",
                                  "accessories_power_back"};
constexpr std::size_t kLines = 7;

TEST_F(CheckTest, EveryFaultOfOneWireIsToldAsTheDocumentSays) {
    const Table table = TableOf("One wire");
    std::size_t seen = 0;
    std::size_t notSeen = 0;
    for (const std::string wire : kWires) {
        for (const std::string condition : {"broken", "stuck at 0", "stuck at 1", "inverted"}) {
            const std::string fault = wire + " " + condition;
            ASSERT_TRUE(table.contains(fault)) << fault;
            for (std::size_t i = 0; i < kKinds.size(); ++i) {
                const Checked checked = CheckWith(kKinds[i], ScenarioOf(fault));
                const std::string cell = CellOf(checked);
                const std::string& published = table.at(fault)[i];
                EXPECT_EQ(cell, published == kNoWire ? kNotSeen : published)
                    << fault << ", " << kKinds[i].name;
                if (published != kNoWire) {
                    EXPECT_NE(checked.result.Verdict(), "PASS") << fault << ", " << kKinds[i].name;
                    ++(cell == kNotSeen ? notSeen : seen);
                }
            }
        }
    }
    EXPECT_EQ(table.size(), 40u + 2) << "rows beside those of the faults: the head and its line";
    EXPECT_EQ(seen, 108u);
    EXPECT_EQ(notSeen, 24u);
}

/// The names of the lines in the texts.
const std::map<std::string, std::string> kWords{{"trigger", "trigger"},
                                                {"ready", "ready"},
                                                {"mep", "MEP flag"},
                                                {"clear_mep", "clear-MEP"},
                                                {"dark", "dark"},
                                                {"camera_power", "amera power"},
                                                {"accessories_power", "ccessories power"}};

TEST_F(CheckTest, EveryFaultOfTwoWiresIsToldAsTheDocumentSays) {
    const Table table = TableOf("Two wires");
    std::size_t seen = 0;
    std::size_t notSeen = 0;
    for (std::size_t one = 0; one < kLines; ++one) {
        for (std::size_t other = one + 1; other < kLines; ++other) {
            for (const std::string joint : {" swapped with ", " shorted to "}) {
                const std::string fault = kWires[one] + joint + kWires[other];
                ASSERT_TRUE(table.contains(fault)) << fault;
                for (std::size_t i = 0; i < kKinds.size(); ++i) {
                    const Checked checked = CheckWith(kKinds[i], ScenarioOf(fault));
                    const host::Cause& cause = checked.result.cause;
                    EXPECT_EQ(CellOf(checked), table.at(fault)[i])
                        << fault << ", " << kKinds[i].name;
                    EXPECT_NE(checked.result.Verdict(), "PASS") << fault << ", " << kKinds[i].name;
                    const std::string text = cause.says + cause.likely + cause.tellApart;
                    if (checked.result.hasFailed) {
                        EXPECT_THAT(text, AnyOf(HasSubstr(kWords.at(kWires[one])),
                                                HasSubstr(kWords.at(kWires[other]))))
                            << fault << ", " << kKinds[i].name;
                    }
                    ++(checked.result.hasFailed ? seen : notSeen);
                }
            }
        }
    }
    EXPECT_EQ(table.size(), 42u + 2);
    EXPECT_EQ(seen, 158u);
    EXPECT_EQ(notSeen, 10u);
}

std::string EventAt(int ms, const std::string& action) {
    return "[[event]]\nat_ms = " + std::to_string(ms) + "\naction = '" + action + "'\n";
}

/// A fault of an installation other than in its wires.
struct Suffering {
    const char* row; ///< first cell of its row in the document
    std::string scenario;
    bool isOfUsb = false;
    bool isOfPorts = false; ///< concerns the kinds reached through InpOut
    DriverState inpout = DriverState::unknown;
    const char* said = ""; ///< part of the text on the fitted kind in the step "kinds"
    const char* advised = "";
};

const std::vector<Suffering> kSufferings{
    {"chip not plugged in", "plugged = false\n", true, false, DriverState::unknown,
     "No FTDI chip is connected.", "Plug the FT2232H in"},
    {"chip open in another program", "open_elsewhere = true\n", true, false, DriverState::unknown,
     "open in another program", "Close the other program"},
    {"chip whose serial numbers end otherwise", "letters = 'CD'\n", true, false,
     DriverState::unknown, "no channel's serial number ends in B", "FT_PROG"},
    {"chip plugged in just now: no name yet",
     "plugged = false\nnamed_after_ms = 9000\n" + EventAt(0, "plug"), true, false,
     DriverState::unknown, "has no serial number yet", "Ask again in some seconds"},
    {"chip plugged in just now: does not open yet",
     "plugged = false\nopens_after_ms = 9000\n" + EventAt(0, "plug"), true, false,
     DriverState::unknown, "it was plugged in just now, or", "Ask again in some seconds"},
    {"InpOut's driver not open", "[inpout]\ndriver_open = false\n", false, true,
     DriverState::absent, "(InpOut) is not open", "Its driver is not installed"},
    {"InpOut's driver opens later",
     "[inpout]\ndriver_open = false\n[[event]]\nat_ms = 5000\naction = 'open-driver'\n", false,
     true, DriverState::running, "(InpOut) is not open", "Its driver runs by now: ask again."},
};

TEST_F(CheckTest, WhatKeepsHardwareFromServingIsToldAsTheDocumentSays) {
    const Table table = TableOf("No hardware");
    for (const Suffering& suffering : kSufferings) {
        ASSERT_TRUE(table.contains(suffering.row)) << suffering.row;
        for (std::size_t i = 0; i < kKinds.size(); ++i) {
            const bool isUsb = i == 0;
            const bool isPort = i >= 2;
            if (!(suffering.isOfUsb && isUsb) && !(suffering.isOfPorts && isPort)) {
                EXPECT_EQ(table.at(suffering.row)[i], "not there") << suffering.row;
                continue;
            }
            CheckPlan plan;
            plan.scenario = kKinds[i].scenario + suffering.scenario;
            plan.machine.inpout = suffering.inpout;
            const Checked checked = Check(plan);
            EXPECT_EQ(CellOf(checked), table.at(suffering.row)[i]) << suffering.row;
            EXPECT_EQ(checked.result.Verdict(), "INCOMPLETE FAIL") << suffering.row;
            const auto& seen = checked.Step("kinds").seen;
            const auto line = std::ranges::find_if(
                seen, [&](const std::string& each) { return each.starts_with(kKinds[i].name); });
            ASSERT_NE(line, seen.end());
            EXPECT_THAT(*line, HasSubstr(suffering.said)) << suffering.row;
            EXPECT_THAT(*line, HasSubstr(suffering.advised)) << suffering.row;
        }
    }
    EXPECT_EQ(table.size(), kSufferings.size() + 2);
}

/// A short disturbance of healthy hardware during a check.
struct Episode {
    const char* row;
    const char* setup; ///< keys of the chip
    const char* event;
    int lasts;               ///< ms
    const char* secondEvent; ///< ends the disturbance; null: it ends by itself
    bool isOfUsb;
};

const std::vector<Episode> kEpisodes{
    {"unplugged and plugged in again", "", "unplug", 200, "plug", true},
    {"the same; no name for 500 ms", "named_after_ms = 500\n", "unplug", 200, "plug", true},
    {"the same; opens after 500 ms", "opens_after_ms = 500\n", "unplug", 200, "plug", true},
    {"PC sleeps", "", "sleep", 1000, nullptr, false},
};

/// Total duration of the steps that use the hardware.
double MillisecondsOfHardware(const Checked& checked) {
    double sum = 0;
    for (const host::StepResult& step : checked.result.steps) {
        sum += std::string_view(step.key).starts_with("tim") ? 0 : step.milliseconds;
    }
    return sum;
}

TEST_F(CheckTest, WhatComesAndGoesIsToldWhenever) {
    const Table table = TableOf("Comes and goes");
    constexpr int kOpen = 100; // ms; the library has opened the hardware by then
    constexpr int kApart = 90;
    for (const Episode& episode : kEpisodes) {
        ASSERT_TRUE(table.contains(episode.row)) << episode.row;
        for (std::size_t i = 0; i < kKinds.size(); ++i) {
            const std::string& published = table.at(episode.row)[i];
            if (episode.isOfUsb && i > 0) {
                EXPECT_EQ(published, "not there") << episode.row;
                continue;
            }
            const double end = MillisecondsOfHardware(CheckWith(kKinds[i], ""));
            std::set<std::string> cells;
            for (int ms = kOpen; ms < end - kApart; ms += kApart) {
                std::string scenario = episode.setup + EventAt(ms, episode.event);
                if (episode.secondEvent != nullptr) {
                    scenario += EventAt(ms + episode.lasts, episode.secondEvent);
                }
                const Checked checked = CheckWith(kKinds[i], scenario);
                cells.insert(CellOf(checked));
                EXPECT_NE(checked.result.Verdict(), "PASS") << episode.row << ms;
                EXPECT_EQ(checked.result.hasFailed, published != kNotSeen) << episode.row << ms;
            }
            std::string seen;
            for (const std::string& cell : cells) {
                seen += (seen.empty() ? "" : ", ") + cell;
            }
            EXPECT_EQ(seen, published) << episode.row << ", " << kKinds[i].name;
        }
    }
    EXPECT_EQ(table.size(), kEpisodes.size() + 2);
}

TEST_F(CheckTest, AfterASleepBoardsServeWhenTheyAreLookedForAgain) {
    for (const Kind& kind : kKinds) {
        SLV::Internal::LibraryState& state = SLV::Internal::GetLibraryState();
        state.controller.reset();
        ResetProcessState();
        Load(kind.scenario + EventAt(1000, "sleep"));
        SelectController(state);
        const auto takesPicture = [] {
            host::Advance(200'000'000);
            const std::uint32_t before = rig_captures();
            return Solvane_TriggerCapture() == SOLVANE_OK && rig_captures() > before;
        };
        EXPECT_TRUE(takesPicture()) << kind.name;
        host::Advance(1'000'000'000);
        const bool isBoard = &kind == &kKinds[1] || &kind == &kKinds[2];
        EXPECT_NE(takesPicture(), isBoard) << kind.name;
        EXPECT_EQ(Solvane_RecheckStatus(), SOLVANE_OK) << kind.name;
        EXPECT_TRUE(takesPicture()) << kind.name;
    }
}

TEST_F(CheckTest, EveryCauseOfTheTablesIsExplained) {
    std::ifstream document(CHECK_DOCUMENT);
    const std::string text(std::istreambuf_iterator<char>(document), {});
    for (const char* const heading : {"One wire", "Two wires", "No hardware", "Comes and goes"}) {
        for (const auto& [fault, cells] : TableOf(heading)) {
            for (const std::string& cell : cells) {
                std::istringstream causes(cell);
                for (std::string cause; std::getline(causes >> std::ws, cause, ',');) {
                    if (cell.find('_') != cell.npos) {
                        EXPECT_THAT(text, HasSubstr("\n| `" + cause + "` | ")) << fault;
                    }
                }
            }
        }
    }
}

TEST_F(CheckTest, CausesNameThePinsOfTheKindThatServes) {
    for (const auto& [kind, pin] :
         {std::pair{kKinds[0], "(BCBUS0)"}, std::pair{kKinds[1], "(pin 0)"},
          std::pair{kKinds[3], "(pin 3)"}}) {
        const Checked checked = CheckWith(kind, ScenarioOf("trigger broken"));
        EXPECT_THAT(checked.result.cause.likely, HasSubstr(pin));
        EXPECT_THAT(checked.result.cause.likely, Not(HasSubstr("%")));
    }
}

struct Illness {
    const char* fault;
    const char* cause;
};

TEST_F(CheckTest, CamerasThatDoNotAnswerAreToldOnEveryKind) {
    for (const Kind& kind : kKinds) {
        for (const Illness& illness :
             {Illness{"[camera]\nmep = 'never'\n", "flag_never"},
              Illness{"[camera]\nmep = 'stuck'\n", "flag_not_cleared"},
              Illness{"[camera]\nmep = 'stuck'\nmep_latched = true\n", "flag_stuck"},
              Illness{"[camera]\nready = false\nready_after_power_ms = 80000\n", "not_ready"},
              Illness{"[camera]\nready_after_power_ms = 20000\n", "slow_after_power"}}) {
            const Checked checked = CheckWith(kind, illness.fault);
            EXPECT_EQ(checked.result.cause.id, illness.cause) << kind.name << illness.fault;
        }
    }
}

TEST_F(CheckTest, HardwareThatLeavesIsToldWhenever) {
    for (int ms = 50; ms < 3000; ms += 50) {
        const Checked checked = CheckWith(kKinds[0], "[[event]]\nat_ms = " + std::to_string(ms) +
                                                         "\naction = 'unplug'\n");
        if (checked.result.Verdict() != "PASS") { // the check may end before the event
            EXPECT_EQ(checked.result.Verdict(), "INCOMPLETE FAIL") << ms;
            EXPECT_THAT(checked.result.cause.id, AnyOf("lost", "no_hardware")) << ms;
        }
    }
    const Checked eapi = CheckWith(
        kKinds[1], "[[fault]]\nfunction = 'EApiGPIOGetLevel'\ncall = 4\ntimes = 0\nstatus = 1\n");
    EXPECT_EQ(eapi.result.cause.id, "lost");
}

TEST_F(CheckTest, ChipWithoutCameraIsNoInstallation) {
    const Checked checked = CheckWith(kKinds[0], "camera = false\n");
    EXPECT_EQ(checked.result.cause.id, "no_camera");
}

} // namespace
} // namespace test
