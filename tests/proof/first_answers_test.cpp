/// What a host is answered after its hardware has left: the table of docs/host-guide.md, cell by
/// cell. And how a host can notice the loss.

#include <fstream>
#include <functional>
#include <sstream>

#include "host_platform.h"
#include "inpout.h"
#include "library_on_the_rig.h"
#include "proof_operations.h"

#define SOLVANE_NO_IMPORT
#include <solvane/solvane.h>

namespace {

using namespace proof;
using namespace test;
using testing::Contains;
using testing::Not;
using testing::StartsWith;

constexpr std::uint64_t kMillisecond = 1'000'000;
constexpr std::uint32_t kForEver = 0;

using Cause = std::function<void()>;

/// A column of the document's table: hardware, and the ways in which it leaves.
struct Loss {
    const char* name;
    const char* scenario;
    std::vector<Cause> ways;
};

void Fail(const char* function, std::uint32_t kind, std::uint32_t status) {
    const rig_fault fault{function, rig_calls(function) + 1, kForEver, kind, status, 0};
    ASSERT_EQ(rig_add_fault(&fault), 0) << function;
}

/// The board's library answers every call with "not initialised".
void EapiFails() {
    for (const char* const function :
         {"EApiLibInitialize", "EApiLibUnInitialize", "EApiGetEAPIVersion", "EApiGPIOGetCount",
          "EApiGPIOSetDirection", "EApiGPIOGetLevel", "EApiGPIOSetLevel"}) {
        Fail(function, RIG_FAULT_STATUS, 0xFFFF'FFFF);
    }
}

/// Port writes have no effect, and every port reads this value.
Cause PortsRead(std::uint32_t value) {
    return [value] {
        Fail("Out32", RIG_FAULT_SILENT, 0);
        Fail("Inp32", RIG_FAULT_STATUS, value);
    };
}

void Unplug() {
    ASSERT_EQ(rig_unplug(0), 0);
}

void Replug() {
    Unplug();
    ASSERT_EQ(rig_plug(0), 0);
}

/// D2XX may accept a port reset of a chip that is gone; only then does the library wait for the
/// chip.
Cause WithPortReset(const Cause& cause) {
    return [cause] {
        cause();
        Fail("FT_ResetPort", RIG_FAULT_SILENT, 0);
    };
}

const std::vector<Loss> kLosses{
    {"FT2232H unplugged", kUsbCamera, {Unplug, WithPortReset(Unplug)}},
    {"FT2232H replugged", kUsbCamera, {Replug, WithPortReset(Replug)}},
    {"Embedded API fails", kEapiCamera, {EapiFails}},
    {"Super I/O reads 0xFF", kSuperIoCamera, {PortsRead(0xFF)}},
    {"Super I/O reads 0", kSuperIoCamera, {PortsRead(0)}},
    {"parallel port reads 0xFF", kLptCamera, {PortsRead(0xFF)}},
    {"parallel port reads 0", kLptCamera, {PortsRead(0)}},
};

/// The effect of a command on a line, and the preparation that makes it visible.
struct Effect {
    Op command;
    std::int16_t (*opposite)();
    rig_line line;
    int level;
};

const Effect kEffects[] = {
    {Op::EnableForcedBlackUpdate, Solvane_DisableForcedBlackUpdate, RIG_DARK, 1},
    {Op::DisableForcedBlackUpdate, Solvane_EnableForcedBlackUpdate, RIG_DARK, 0},
    {Op::EnableCameraPower, Solvane_DisableCameraPower, RIG_CAMERA_POWER, 1},
    {Op::DisableCameraPower, Solvane_EnableCameraPower, RIG_CAMERA_POWER, 0},
    {Op::EnableAccessoriesPower, Solvane_DisableAccessoriesPower, RIG_ACCESSORIES_POWER, 1},
    {Op::DisableAccessoriesPower, Solvane_EnableAccessoriesPower, RIG_ACCESSORIES_POWER, 0},
};

const Effect* EffectOf(Op op) {
    const auto* const found = std::ranges::find(kEffects, op, &Effect::command);
    return found != std::end(kEffects) ? found : nullptr;
}

/// Every call that has an answer.
std::span<const Operation> Calls() {
    return std::span(kOperations).first(static_cast<std::size_t>(Op::EnforceFTDI));
}

std::vector<std::string> CellsOf(const std::string& row) {
    std::vector<std::string> cells;
    std::istringstream text(row.substr(1)); // the bar before the first cell
    for (std::string cell; std::getline(text, cell, '|');) {
        std::erase(cell, '`');
        cell.erase(0, cell.find_first_not_of(' '));
        cell.erase(cell.find_last_not_of(' ') + 1);
        cells.push_back(cell);
    }
    return cells;
}

/// The rows of the document's table, its heads first, without the separator.
std::vector<std::vector<std::string>> Table() {
    std::ifstream document(HOST_GUIDE);
    std::vector<std::vector<std::string>> rows;
    for (std::string line; std::getline(document, line);) {
        if (line.starts_with("| Call ") || (!rows.empty() && line.starts_with("|"))) {
            rows.push_back(CellsOf(line));
        } else if (!rows.empty()) {
            break;
        }
    }
    if (rows.size() > 1) {
        rows.erase(rows.begin() + 1);
    }
    return rows;
}

class FirstAnswersTest : public LibraryOnTheRig {
  protected:
    FirstAnswersTest() { host::Record(false); }

    /// The first answer of the call after the loss, and the later ones, as the document has them.
    static std::string Answers(const Operation& call, const Loss& loss, const Cause& way) {
        StartLibrary(loss.scenario);
        const Effect* const effect = EffectOf(call.op);
        if (effect != nullptr) {
            EXPECT_EQ(effect->opposite(), 0);
        }
        way();
        const std::string first = Answer(call, effect);
        const std::string later = Answer(call, effect);
        for (int again = 0; again < 3; ++again) {
            EXPECT_EQ(Answer(call, effect), later) << call.name << ", " << loss.name;
        }
        return first == later ? first : first + ", then " + later;
    }

    static std::string Answer(const Operation& call, const Effect* effect) {
        host::Advance(1000 * kMillisecond); // longer than an exposure
        rig_journal_clear();
        const std::uint32_t captures = rig_captures();
        std::int16_t answer = kUntouched;
        const std::int16_t status = CallExport(call, &answer);
        if (status != 0) {
            return std::to_string(status);
        }
        if (call.hasAnswer) {
            return answer == 1 ? "yes" : answer == 0 ? "no" : "nothing";
        }
        const bool isDone = effect != nullptr ? rig_level(effect->line) == effect->level
                            : call.op == Op::TriggerCapture ? rig_captures() == captures + 1
                            : call.op == Op::WakeCamera ? TakeEdges() == Entries("dark 1", "dark 0")
                                                        : true;
        return isDone ? "0" : "0 in vain";
    }
};

TEST_F(FirstAnswersTest, AreThoseOfTheHostGuide) {
    const auto table = Table();
    ASSERT_EQ(table.size(), Calls().size() + 1) << "a row a call";
    std::vector<std::string> heads{"Call"};
    for (const Loss& loss : kLosses) {
        heads.emplace_back(loss.name);
    }
    ASSERT_EQ(table[0], heads);
    for (std::size_t i = 0; i < Calls().size(); ++i) {
        const std::vector<std::string>& row = table[i + 1];
        ASSERT_EQ(row.size(), heads.size()) << Calls()[i].name;
        EXPECT_EQ(row[0], Calls()[i].name);
        for (std::size_t column = 0; column < kLosses.size(); ++column) {
            const Loss& loss = kLosses[column];
            for (const Cause& way : loss.ways) {
                EXPECT_EQ(row[column + 1], Answers(Calls()[i], loss, way))
                    << Calls()[i].name << ", " << loss.name;
            }
        }
    }
}

// The document's example, as C.
// clang-format off
/* Of a host whose camera is powered and not dark, while no picture is being taken. */
static int still_there(void) {
    int16_t dark = 0;
    int16_t power = 0;
    int16_t flag = 0;
    return Solvane_CheckForcedBlackUpdate(&dark) == SOLVANE_OK && !dark &&
           Solvane_CheckCameraPower(&power) == SOLVANE_OK && power &&
           Solvane_CheckAndResetMepFlag(&flag) == SOLVANE_OK &&
           (!flag || (Solvane_CheckAndResetMepFlag(&flag) == SOLVANE_OK && !flag)) &&
           Solvane_DisableForcedBlackUpdate() == SOLVANE_OK;
}
// clang-format on

/// It asks questions whose answers cannot be true, and gives a command that changes nothing.
TEST_F(FirstAnswersTest, AHostThatAsksNoticesEveryLoss) {
    for (const Loss& loss : kLosses) {
        for (const Cause& way : loss.ways) {
            SCOPED_TRACE(loss.name);
            StartLibrary(std::string(loss.scenario) + "[camera]\nmep_latched = true\n");
            TakeEdges();
            EXPECT_EQ(still_there(), 1);
            const Journal cleared = Entries("clear_mep 1", "mep 0", "clear_mep 0");
            const bool isLpt = loss.scenario == kLptCamera; // whose configuration has cleared it
            EXPECT_EQ(TakeEdges(), isLpt ? Journal{} : cleared);
            EXPECT_EQ(still_there(), 1);
            EXPECT_EQ(TakeEdges(), Journal{}) << "nothing but a flag is touched";
            way();
            rig_journal_clear();
            const bool isBack = std::string_view(loss.name) == "FT2232H replugged";
            EXPECT_EQ(still_there(), isBack ? 1 : 0);
            EXPECT_THAT(TakeJournal(), Not(Contains(StartsWith("Out32(0x2f, "))))
                << "no pin is set by what a Super I/O chip has not said";
            EXPECT_EQ(Solvane_TriggerCapture() == SOLVANE_OK && rig_captures() == 1, isBack);
        }
    }
}

TEST_F(FirstAnswersTest, AfterAQuestionALostChipIsKnownToBeGone) {
    for (const Operation& call : Calls()) {
        StartLibrary(kUsbCamera);
        Unplug();
        std::int16_t answer = 0;
        CallExport(call, &answer);
        Solvane_CheckSystemReady(&answer);
        EXPECT_EQ(Solvane_CheckAvailable(), SOLVANE_E_NO_HARDWARE) << call.name;
    }
}

/// Monitors of fans and temperatures use the same chip, and leave its configuration mode.
TEST_F(FirstAnswersTest, ARecheckRecoversFromAnotherProgramOnTheSuperIoChip) {
    StartLibrary(kSuperIoCamera);
    rig_force(RIG_READY, 0);
    Out32(0x2E, 0xAA);
    std::int16_t ready = -1;
    EXPECT_EQ(Solvane_CheckSystemReady(&ready), 0);
    EXPECT_EQ(ready, 1) << "which it is not";
    EXPECT_EQ(Solvane_RecheckStatus(), 0);
    EXPECT_EQ(Solvane_CheckSystemReady(&ready), 0);
    EXPECT_EQ(ready, 0);
}

} // namespace
