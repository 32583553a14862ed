/// solvane check on installations with one fault each: docs/check.md has what it says of them, cell
/// by cell, and is the one place where that stands.

#include <fstream>
#include <map>
#include <sstream>

#include "checked.h"

namespace test {
namespace {

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
    const char* healthy; ///< the verdict
};

// Only the FT2232H reads back every line that it drives.
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
        EXPECT_EQ(checked.Outcome("dark"), blind) << kind.name;
        EXPECT_EQ(checked.Outcome("accessories_power"), blind) << kind.name;
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
    // These kinds keep what the last host left.
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
            stopped += checked.result.steps.empty() ? 1 : 0; // it has no result
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
        if (std::string(kind.name) != "parallel port") { // configuring a board may wake it as well
            EXPECT_EQ(asleep.result.Verdict(), kind.healthy) << kind.name;
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

/// Where a fault is, what check says of it on each kind: a cause, or that it is not seen.
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

/// A fault as scenarios have it: "trigger broken" is trigger = 'broken' under [wiring].
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

/// What the texts call a line.
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

TEST_F(CheckTest, EveryCauseOfTheTablesIsExplained) {
    std::ifstream document(CHECK_DOCUMENT);
    const std::string text(std::istreambuf_iterator<char>(document), {});
    for (const char* const heading : {"One wire", "Two wires"}) {
        for (const auto& [fault, cells] : TableOf(heading)) {
            for (const std::string& cell : cells) {
                if (cell.find('_') != cell.npos) {
                    EXPECT_THAT(text, HasSubstr("\n| `" + cell + "` | ")) << fault;
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
        if (checked.result.Verdict() != "PASS") { // it may be over before
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
