#include "bench_rig.h"
#include "inpout.h"

namespace test {
namespace {

class SuperIoTest : public BenchRig {
  protected:
    SuperIoTest() { Start(""); }

    /// Starts with a chip in configuration mode.
    static void Start(const std::string& chip) {
        Load("[superio]\n" + chip);
        Open();
        SetRegister(0x07, 7);
    }

    static void Open() {
        Out32(0x2E, 0x87);
        Out32(0x2E, 0x87);
    }

    static void SetRegister(std::uint16_t index, std::uint16_t value) {
        Out32(0x2E, index);
        Out32(0x2F, value);
    }

    static std::uint16_t Register(std::uint16_t index) {
        Out32(0x2E, index);
        return Inp32(0x2F);
    }
};

TEST_F(SuperIoTest, IsSilentUntilTheKeyCameTwiceInARow) {
    Load("[superio]\n");
    EXPECT_EQ(Register(0x20), 0xFF);
    Out32(0x2E, 0x87);
    EXPECT_EQ(Register(0x20), 0xFF);
    Out32(0x2E, 0x87);
    Out32(0x2F, 0x00); // any other write in between
    Out32(0x2E, 0x87);
    EXPECT_EQ(Register(0x20), 0xFF);
    EXPECT_EQ(Inp32(0x2E), 0xFF);
    Open();
    EXPECT_EQ(Register(0x20), 0xC4);
    EXPECT_EQ(Register(0x21), 0x52);
    EXPECT_EQ(Inp32(0x2E), 0x21) << "the index reads back";
    Open();
    EXPECT_EQ(Register(0x20), 0xC4) << "a second opening changes nothing";
}

TEST_F(SuperIoTest, TheClosingKeySilencesItAndKeepsWhatWasSet) {
    SetRegister(0xEC, 0x86);
    SetRegister(0xED, 0xFE);
    EXPECT_EQ(rig_level(RIG_DARK), 1);
    Out32(0x2E, 0xAA);
    EXPECT_EQ(Register(0x20), 0xFF);
    EXPECT_EQ(rig_level(RIG_DARK), 1);
    Open();
    EXPECT_EQ(Register(0xED), 0xFE);
}

TEST_F(SuperIoTest, TheDataPortOpensNothing) {
    Load("[superio]\n");
    Out32(0x2F, 0x87);
    Out32(0x2F, 0x87);
    EXPECT_EQ(Register(0x20), 0xFF);
}

TEST_F(SuperIoTest, HasItsBankInLogicalDeviceSevenAlone) {
    SetRegister(0xEC, 0x86);
    SetRegister(0x07, 6);
    for (const int index : {0x30, 0xEC, 0xED, 0xEE, 0xEF}) {
        EXPECT_EQ(Register(static_cast<std::uint16_t>(index)), 0xFF);
    }
    SetRegister(0xED, 0xFF);
    EXPECT_EQ(rig_level(RIG_TRIGGER), 0);
    EXPECT_EQ(Register(0x20), 0xC4) << "the ids belong to no device";
    EXPECT_EQ(Register(0x07), 6);
    SetRegister(0x07, 7);
    EXPECT_EQ(Register(0xED), 0xEE);
}

TEST_F(SuperIoTest, DrivesEachLineFromItsOwnBit) {
    const struct {
        unsigned mask;
        rig_line line;
        bool activeLevel;
    } wires[] = {{0x01, RIG_TRIGGER, true},
                 {0x08, RIG_CLEAR_MEP, false},
                 {0x10, RIG_DARK, true},
                 {0x20, RIG_ACCESSORIES_POWER, true},
                 {0x40, RIG_CAMERA_POWER, true}};
    SetRegister(0xEC, 0x86);
    for (const unsigned value : {0x00U, 0xFFU}) {
        for (const auto& changed : wires) {
            SetRegister(0xED, static_cast<std::uint16_t>(value ^ changed.mask));
            for (const auto& wire : wires) {
                const bool bit = ((value ^ changed.mask) & wire.mask) != 0;
                EXPECT_EQ(rig_level(wire.line), bit == wire.activeLevel)
                    << rig_line_name(wire.line);
            }
        }
    }
}

TEST_F(SuperIoTest, InputsFollowTheCameraAndOutputsReadBack) {
    SetRegister(0xEC, 0x86);
    SetRegister(0xED, 0xEE);
    EXPECT_EQ(Register(0xED), 0xEE);
    rig_force(RIG_READY, 0);
    EXPECT_EQ(Register(0xED), 0xEC);
    rig_force(RIG_MEP, 1);
    EXPECT_EQ(Register(0xED), 0xE8);
    SetRegister(0xED, 0x00);
    EXPECT_EQ(Register(0xED), 0x00) << "camera power off reads at its status bit";
}

TEST_F(SuperIoTest, PinsAreInputsUntilTheirDirectionIsSet) {
    EXPECT_EQ(Register(0xEC), 0xFF);
    SetRegister(0xED, 0x01);
    EXPECT_EQ(rig_level(RIG_TRIGGER), 0);
    SetRegister(0xEC, 0xFE);
    EXPECT_EQ(rig_level(RIG_TRIGGER), 1);
    SetRegister(0xEC, 0xFF);
    EXPECT_EQ(rig_level(RIG_TRIGGER), 0) << "an input lets go of its line";
}

TEST_F(SuperIoTest, BecomingOutputsChangesNoLineUnlessTheScenarioSaysSo) {
    rig_journal_clear();
    SetRegister(0xEC, 0x86);
    EXPECT_TRUE(Take(RIG_EDGE).empty());
    Start("data = 0x49\n"); // trigger, clear MEP at rest, camera power; no accessories
    SetRegister(0xEC, 0x86);
    EXPECT_EQ(rig_level(RIG_TRIGGER), 1);
    EXPECT_EQ(rig_level(RIG_ACCESSORIES_POWER), 0);
}

TEST_F(SuperIoTest, TellsTheIdsAndBanksOfTheScenario) {
    Start("id = 0xC552\nactive_banks = 0xF7\n");
    EXPECT_EQ(Register(0x20), 0xC5);
    EXPECT_EQ(Register(0x21), 0x52);
    EXPECT_EQ(Register(0x30), 0xF7);
    SetRegister(0x20, 0);
    SetRegister(0x30, 0);
    EXPECT_EQ(Register(0x20), 0xC5) << "read only";
    EXPECT_EQ(Register(0x30), 0xF7);
}

TEST_F(SuperIoTest, HasTwoMoreRegistersAndNoOthers) {
    SetRegister(0xEE, 0x12);
    SetRegister(0xEF, 0x34);
    EXPECT_EQ(Register(0xEE), 0x12);
    EXPECT_EQ(Register(0xEF), 0x34);
    SetRegister(0xEB, 0x56);
    EXPECT_EQ(Register(0xEB), 0xFF);
}

// ---- InpOut ----

TEST_F(SuperIoTest, OtherPortsReadAsNobody) {
    EXPECT_EQ(Inp32(0x2D), 0xFF);
    EXPECT_EQ(Inp32(0x30), 0xFF);
    EXPECT_EQ(Inp32(0x378), 0xFF);
    EXPECT_EQ(Inp32(0xFFFF), 0xFF);
    Out32(0x378, 0x12);
    EXPECT_EQ(Inp32(0x378), 0xFF);
}

TEST_F(SuperIoTest, OnlyBytesAreWritten) {
    SetRegister(0xEE, 0x1234);
    EXPECT_EQ(Register(0xEE), 0x34);
}

TEST_F(SuperIoTest, TheDriverIsOpenWhereSomethingIsBehindPortsUnlessTheScenarioSaysNo) {
    EXPECT_EQ(IsInpOutDriverOpen(), 1U);
    Load("[lpt]\n");
    EXPECT_EQ(IsInpOutDriverOpen(), 1U);
    Load("");
    EXPECT_EQ(IsInpOutDriverOpen(), 0U);
    Load("[inpout]\ndriver_open = true\n");
    EXPECT_EQ(IsInpOutDriverOpen(), 1U);
    Load("[superio]\n[inpout]\ndriver_open = false\n");
    EXPECT_EQ(IsInpOutDriverOpen(), 0U);
}

TEST_F(SuperIoTest, WithoutItsDriverNoPortIsReached) {
    Load("[superio]\n[inpout]\ndriver_open = false\n");
    Open();
    EXPECT_EQ(Register(0x20), 0);
}

TEST_F(SuperIoTest, EveryAccessIsJournalled) {
    rig_journal_clear();
    Inp32(0x2F);
    Out32(0x2E, 0xAA);
    Inp32(0xFFFF);
    EXPECT_EQ(Take(RIG_CALL),
              (Lines{"Inp32(0x2f) -> 0x7", "Out32(0x2e, 0xaa)", "Inp32(0xffff) -> 0xff"}));
}

TEST_F(SuperIoTest, FaultsAreOtherValuesAndLostWrites) {
    AddFault("Inp32", RIG_FAULT_STATUS, 0x1C4, 0);
    EXPECT_EQ(Inp32(0x2F), 0x1C4);
    EXPECT_EQ(Inp32(0x2F), 0x07);
    AddFault("Out32", RIG_FAULT_SILENT, 0, 0, rig_calls("Out32") + 2);
    SetRegister(0xEE, 0x55);
    EXPECT_EQ(Register(0xEE), 0x00);
}

// ---- Several chips on one camera ----

TEST_F(SuperIoTest, OfSeveralChipsTheLastThatDroveALineHasIt) {
    Load("[superio]\n" + kOneChip);
    Open();
    SetRegister(0x07, 7);
    SetRegister(0xEC, 0x86);
    SetRegister(0xED, 0xEE | 0x10);
    FT_HANDLE pins = OpenPins();
    Drive(pins, kRest);
    EXPECT_EQ(rig_level(RIG_DARK), 0);
    EXPECT_EQ(FT_SetBitMode(pins, 0, 0), FT_OK);
    EXPECT_EQ(rig_level(RIG_DARK), 1) << "the chip that is left has the line again";
}

} // namespace
} // namespace test
