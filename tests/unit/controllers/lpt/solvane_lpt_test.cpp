#include "solvane_lpt.h"

#include <functional>
#include <optional>

#include "on_the_rig.h"

namespace {

using namespace SLV::Internal;
using namespace test;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

constexpr short kUntouched = 0x5A5A;

// The registers of a port at 0x378.
Journal ReadData(const std::string& value) {
    return {"Inp32(0x378) -> 0x" + value};
}
Journal WriteData(const std::string& value) {
    return {"Out32(0x378, 0x" + value + ")"};
}
Journal ReadStatus(const std::string& value) {
    return {"Inp32(0x379) -> 0x" + value};
}
Journal ReadControl(const std::string& value) {
    return {"Inp32(0x37a) -> 0x" + value};
}
Journal WriteControl(const std::string& value) {
    return {"Out32(0x37a, 0x" + value + ")"};
}
Journal Do(const std::string& entry) {
    return {entry};
}

const Journal kPresenceProbe = Do("timeBeginPeriod(1)") + ReadControl("0") + WriteControl("0") +
                               Do("Sleep(0)") + ReadStatus("60") + WriteControl("8") +
                               Do("Sleep(0)") + ReadStatus("e0") + WriteControl("0") +
                               Do("timeEndPeriod(1)");

const Journal kPowerProbe = Do("timeBeginPeriod(1)") + ReadControl("0") + WriteControl("0") +
                            Do("Sleep(0)") + ReadStatus("60") + WriteControl("4") + Do("Sleep(0)") +
                            ReadStatus("70") + WriteControl("0") + Do("timeEndPeriod(1)");

Journal ClearingPulse() {
    return ReadControl("0") + WriteControl("1") + Do("Sleep(0)") + WriteControl("0");
}

const Journal kRest = Do("timeBeginPeriod(1)") + ReadControl("0") + WriteControl("0") +
                      Do("Sleep(0)") + ClearingPulse() + ReadData("0") + WriteData("0") +
                      Do("timeEndPeriod(1)");

class SolvaneLptTest : public OnTheRig {
  protected:
    SolvaneLptTest() { Start(); }

    ~SolvaneLptTest() override { port.reset(); }

    /// A port whose controller was asked once.
    void Start(const std::string& keys = "") {
        StartFresh(keys);
        EXPECT_EQ(port->CheckAvailable(), 0);
        TakeJournal();
    }

    void StartFresh(const std::string& keys = "") {
        port.reset();
        Load(kLptCamera + keys);
        port.emplace(logger);
    }

    void Expect(short status, const std::function<short()>& operation, const Journal& journal) {
        EXPECT_EQ(operation(), status);
        EXPECT_EQ(TakeJournal(), journal);
    }

    /// The journal without the search for the port.
    static Journal TakeJournalFromPortOn() {
        Journal journal = TakeJournal();
        const auto end = std::find(journal.begin(), journal.end(), "CoUninitialize()");
        EXPECT_NE(end, journal.end());
        return {end + 1, journal.end()};
    }

    std::optional<SolvaneLpt> port;
    short out = kUntouched;
};

// ---- Initialisation ----

TEST_F(SolvaneLptTest, MakingTouchesNothing) {
    StartFresh();
    EXPECT_THAT(TakeJournal(), IsEmpty());
}

TEST_F(SolvaneLptTest, TheFirstCallFindsProbesAndSetsToRest) {
    StartFresh();
    EXPECT_EQ(port->CheckAvailable(), 0);
    const Journal journal = TakeJournal();
    EXPECT_EQ(journal[0], "log: [LPT]: initializing...");
    EXPECT_EQ(journal[1], "CoInitializeEx(null, 0)");
    const auto found = std::find(journal.begin(), journal.end(), "CoUninitialize()");
    EXPECT_EQ(Journal(found + 1, journal.end()),
              Do("IsInpOutDriverOpen() -> 1") + kPresenceProbe + Do("log: [LPT]: succeeded.") +
                  kPowerProbe + Do("log: [LPT]: power interface available.") + kRest);
    EXPECT_EQ(port->CheckAvailable(), 0);
    EXPECT_EQ(port->CheckPowerControlAvailable(), 0);
    EXPECT_THAT(TakeJournal(), IsEmpty());
}

TEST_F(SolvaneLptTest, AnyOperationMayBeTheFirst) {
    StartFresh();
    EXPECT_EQ(port->CheckPowerControlAvailable(), 0);
    EXPECT_THAT(TakeLog(), Contains("[LPT]: succeeded."));
    StartFresh();
    EXPECT_EQ(port->TriggerCapture(), 0);
    EXPECT_EQ(rig_captures(), 1u);
    StartFresh();
    EXPECT_EQ(port->CheckCameraPower(&out), 0);
    EXPECT_EQ(out, 1);
}

TEST_F(SolvaneLptTest, TheRestStateLeavesDarkAndPowerAlone) {
    Start("[pulls]\ndark = 1\ncamera_power = 0\naccessories_power = 0\ntrigger = 1\n");
    EXPECT_EQ(rig_level(RIG_DARK), 1);
    EXPECT_EQ(rig_level(RIG_CAMERA_POWER), 0);
    EXPECT_EQ(rig_level(RIG_ACCESSORIES_POWER), 0);
    EXPECT_EQ(rig_level(RIG_TRIGGER), 0);
    EXPECT_EQ(rig_level(RIG_CLEAR_MEP), 0);
}

TEST_F(SolvaneLptTest, OtherControlBitsSurviveProbesAndPulses) {
    StartFresh();
    FailStatus("Inp32", 1, 0xF0); // the control register, read by the first probe
    EXPECT_EQ(port->CheckAvailable(), 0);
    const Journal journal = TakeJournalFromPortOn();
    EXPECT_EQ(Journal(journal.begin() + 1, journal.begin() + 11),
              Do("timeBeginPeriod(1)") + ReadControl("f0") + WriteControl("f0") + Do("Sleep(0)") +
                  ReadStatus("60") + WriteControl("f8") + Do("Sleep(0)") + ReadStatus("e0") +
                  WriteControl("f0") + Do("timeEndPeriod(1)"));
}

TEST_F(SolvaneLptTest, WithoutAPortEveryOperationIsMinusThreeAndItIsLookedForOnce) {
    StartFresh();
    Load("");
    EXPECT_EQ(port->DisableCameraPower(), -3);
    EXPECT_THAT(TakeLog(),
                ElementsAre("[LPT]: initializing...", "[LPT]: pEnumerator->Next() failed. hr = 0x1",
                            "[LPT]: error -3"));
    EXPECT_EQ(port->CheckAvailable(), -3);
    EXPECT_EQ(port->CheckPowerControlAvailable(), -1);
    Load(kLptCamera);
    EXPECT_EQ(port->TriggerCapture(), -3) << "a failure is final for this controller";
    EXPECT_THAT(TakeJournal(), IsEmpty());
    port.reset();
    port.emplace(logger);
    EXPECT_EQ(port->TriggerCapture(), 0) << "a new one looks again";
}

TEST_F(SolvaneLptTest, WithoutThePortDriverEveryOperationIsMinusTwo) {
    StartFresh("[inpout]\ndriver_open = false\n");
    EXPECT_EQ(port->CheckPowerControlAvailable(), -1);
    EXPECT_EQ(TakeJournalFromPortOn(),
              Entries("IsInpOutDriverOpen() -> 0", "log: [LPT]: error -2"));
    EXPECT_EQ(port->CheckAvailable(), -2);
    EXPECT_EQ(port->TriggerCapture(), -2);
    EXPECT_EQ(port->CheckSystemReady(&out), -2);
    EXPECT_EQ(out, kUntouched);
    EXPECT_THAT(TakeJournal(), IsEmpty());
}

TEST_F(SolvaneLptTest, APresenceLoopbackThatStaysLowIsMinusThree) {
    StartFresh("presence_wire = false\n");
    EXPECT_EQ(port->CheckAvailable(), -3);
    EXPECT_EQ(TakeJournalFromPortOn(), Do("IsInpOutDriverOpen() -> 1") + Do("timeBeginPeriod(1)") +
                                           ReadControl("0") + WriteControl("0") + Do("Sleep(0)") +
                                           ReadStatus("60") + WriteControl("8") + Do("Sleep(0)") +
                                           ReadStatus("60") + WriteControl("0") +
                                           Do("timeEndPeriod(1)") + Do("log: [LPT]: error -3"));
    EXPECT_EQ(port->CheckPowerControlAvailable(), -1);
    EXPECT_EQ(port->WakeCamera(), -3);
    EXPECT_THAT(TakeJournal(), IsEmpty());
}

TEST_F(SolvaneLptTest, APresenceLoopbackThatStaysHighIsMinusThreeAfterItsFirstRead) {
    StartFresh();
    FailStatus("Inp32", 2, 0x80);
    EXPECT_EQ(port->CheckAvailable(), -3);
    EXPECT_EQ(TakeJournalFromPortOn(), Do("IsInpOutDriverOpen() -> 1") + Do("timeBeginPeriod(1)") +
                                           ReadControl("0") + WriteControl("0") + Do("Sleep(0)") +
                                           ReadStatus("80") + WriteControl("0") +
                                           Do("timeEndPeriod(1)") + Do("log: [LPT]: error -3"));
}

/// The power operations ask whether the port is usable, never whether the interface is wired.
TEST_F(SolvaneLptTest, WithoutAPowerInterfaceThePowerLinesAreDrivenAllTheSame) {
    StartFresh("power_wire = false\n");
    EXPECT_EQ(port->CheckPowerControlAvailable(), -3);
    EXPECT_THAT(TakeLog(), ElementsAre("[LPT]: initializing...", "[LPT]: succeeded.",
                                       "[LPT]: power interface NOT available."));
    EXPECT_EQ(port->CheckAvailable(), 0);
    EXPECT_EQ(port->DisableCameraPower(), 0);
    EXPECT_EQ(rig_level(RIG_CAMERA_POWER), 0);
}

TEST_F(SolvaneLptTest, OnlyTheLowByteOfAPortCounts) {
    StartFresh();
    FailStatus("Inp32", 2, 0xFF60);
    FailStatus("Inp32", 3, 0xFF80);
    EXPECT_EQ(port->CheckAvailable(), 0);
    TakeJournal();
    FailStatus("Inp32", 1, 0xFF00);
    EXPECT_EQ(port->EnableForcedBlackUpdate(), 0);
    EXPECT_THAT(TakeJournal(), Contains("Out32(0x378, 0x1)"));
    FailStatus("Inp32", 1, 0x2000);
    EXPECT_EQ(port->CheckSystemReady(&out), 0);
    EXPECT_EQ(out, 0);
}

TEST_F(SolvaneLptTest, AddressesWrapAtSixteenBits) {
    Start("base = 0xFFFF\n");
    EXPECT_EQ(port->CheckSystemReady(&out), 0);
    EXPECT_EQ(out, 1);
    EXPECT_EQ(port->CheckAndResetMepFlag(&out), 0);
    EXPECT_EQ(TakeJournal(), Entries("Inp32(0x0) -> 0x60", "Inp32(0x0) -> 0x60"));
}

TEST_F(SolvaneLptTest, ItsStateGoesWithItAndThePortIsNotTouched) {
    port.reset();
    EXPECT_THAT(TakeJournal(), IsEmpty());
    EXPECT_EQ(s_lptAvailability, -1);
    EXPECT_EQ(s_lptPowerAvailability, -1);
    EXPECT_EQ(s_lptBaseAddress, 0);
    EXPECT_FALSE(s_lptInitialised);
}

// ---- The gate and null pointers ----

using Question = short (SolvaneLpt::*)(short*);
constexpr Question kQuestions[] = {&SolvaneLpt::CheckAndResetMepFlag, &SolvaneLpt::CheckSystemReady,
                                   &SolvaneLpt::CheckForcedBlackUpdate,
                                   &SolvaneLpt::CheckCameraPower,
                                   &SolvaneLpt::CheckAccessoriesPower};

TEST_F(SolvaneLptTest, ANullPointerIsMinusFourAfterTheGateAndReadsNothing) {
    for (const Question question : kQuestions) {
        EXPECT_EQ(((*port).*question)(nullptr), -4);
    }
    EXPECT_THAT(TakeJournal(), IsEmpty());
    port.reset();
    Load("");
    port.emplace(logger);
    for (const Question question : kQuestions) {
        EXPECT_EQ(((*port).*question)(nullptr), -3);
    }
}

TEST_F(SolvaneLptTest, ClosingAndResettingThePortDoNothingWhateverTheState) {
    EXPECT_EQ(port->CloseDevice(), 0);
    EXPECT_EQ(port->ResetComPort(), 0);
    StartFresh();
    EXPECT_EQ(port->CloseDevice(), 0);
    EXPECT_EQ(port->ResetComPort(), 0);
    EXPECT_THAT(TakeJournal(), IsEmpty());
}

// ---- Trigger and flag ----

TEST_F(SolvaneLptTest, TriggerPulsesTheTriggerLineForTenMilliseconds) {
    Expect(
        0, [&] { return port->TriggerCapture(); },
        ReadStatus("60") + Do("timeBeginPeriod(1)") + ReadStatus("60") + ReadData("0") +
            WriteData("2") + Do("Sleep(10)") + WriteData("0") + Do("timeEndPeriod(1)"));
    EXPECT_EQ(rig_captures(), 1u);
}

TEST_F(SolvaneLptTest, TriggerIsRefusedWhileNotReadyAndTouchesNothing) {
    rig_force(RIG_READY, 0);
    Expect(
        -5, [&] { return port->TriggerCapture(); }, ReadStatus("40"));
}

TEST_F(SolvaneLptTest, TriggerClearsALatchedFlagFirst) {
    Start();
    rig_force(RIG_MEP, 1);
    Expect(
        0, [&] { return port->TriggerCapture(); },
        ReadStatus("20") + Do("timeBeginPeriod(1)") + ReadStatus("20") + ClearingPulse() +
            ReadData("0") + WriteData("2") + Do("Sleep(10)") + WriteData("0") +
            Do("timeEndPeriod(1)"));
    rig_force(RIG_MEP, -1);
    EXPECT_EQ(port->CheckAndResetMepFlag(&out), 0);
    EXPECT_EQ(out, 0) << "the hardware released the flag";
}

TEST_F(SolvaneLptTest, TriggerKeepsTheOtherDataBits) {
    port->EnableForcedBlackUpdate();
    port->DisableAccessoriesPower();
    TakeJournal();
    Expect(
        0, [&] { return port->TriggerCapture(); },
        ReadStatus("60") + Do("timeBeginPeriod(1)") + ReadStatus("60") + ReadData("21") +
            WriteData("23") + Do("Sleep(10)") + WriteData("21") + Do("timeEndPeriod(1)"));
}

TEST_F(SolvaneLptTest, AFlagThatIsNotLatchedIsZeroWithoutAPulse) {
    Expect(
        0, [&] { return port->CheckAndResetMepFlag(&out); }, ReadStatus("60"));
    EXPECT_EQ(out, 0);
}

TEST_F(SolvaneLptTest, ALatchedFlagIsOneAndClearedWithOnePulse) {
    rig_force(RIG_MEP, 1);
    Expect(
        0, [&] { return port->CheckAndResetMepFlag(&out); },
        ReadStatus("20") + Do("timeBeginPeriod(1)") + ClearingPulse() + Do("timeEndPeriod(1)"));
    EXPECT_EQ(out, 1);
}

// ---- Lines ----

TEST_F(SolvaneLptTest, ReadyFollowsItsStatusBit) {
    Expect(
        0, [&] { return port->CheckSystemReady(&out); }, ReadStatus("60"));
    EXPECT_EQ(out, 1);
    rig_force(RIG_READY, 0);
    Expect(
        0, [&] { return port->CheckSystemReady(&out); }, ReadStatus("40"));
    EXPECT_EQ(out, 0);
}

TEST_F(SolvaneLptTest, DarkIsItsDataBit) {
    Expect(
        0, [&] { return port->EnableForcedBlackUpdate(); }, ReadData("0") + WriteData("1"));
    Expect(
        0, [&] { return port->CheckForcedBlackUpdate(&out); }, ReadData("1"));
    EXPECT_EQ(out, 1);
    Expect(
        0, [&] { return port->DisableForcedBlackUpdate(); }, ReadData("1") + WriteData("0"));
    Expect(
        0, [&] { return port->CheckForcedBlackUpdate(&out); }, ReadData("0"));
    EXPECT_EQ(out, 0);
}

TEST_F(SolvaneLptTest, WakeInvertsDarkForTenMillisecondsWithoutFineTiming) {
    Expect(
        0, [&] { return port->WakeCamera(); },
        ReadData("0") + WriteData("1") + Do("Sleep(10)") + WriteData("0"));
    port->EnableForcedBlackUpdate();
    port->DisableCameraPower();
    TakeJournal();
    Expect(
        0, [&] { return port->WakeCamera(); },
        ReadData("41") + WriteData("40") + Do("Sleep(10)") + WriteData("41"));
    EXPECT_EQ(rig_level(RIG_DARK), 1);
}

TEST_F(SolvaneLptTest, PowerLinesAreActiveLow) {
    Expect(
        0, [&] { return port->DisableCameraPower(); }, ReadData("0") + WriteData("40"));
    EXPECT_EQ(rig_level(RIG_CAMERA_POWER), 0);
    Expect(
        0, [&] { return port->CheckCameraPower(&out); }, ReadData("40"));
    EXPECT_EQ(out, 0);
    Expect(
        0, [&] { return port->DisableAccessoriesPower(); }, ReadData("40") + WriteData("60"));
    EXPECT_EQ(rig_level(RIG_ACCESSORIES_POWER), 0);
    Expect(
        0, [&] { return port->CheckAccessoriesPower(&out); }, ReadData("60"));
    EXPECT_EQ(out, 0);
    Expect(
        0, [&] { return port->EnableCameraPower(); }, ReadData("60") + WriteData("20"));
    EXPECT_EQ(rig_level(RIG_CAMERA_POWER), 1);
    Expect(
        0, [&] { return port->CheckCameraPower(&out); }, ReadData("20"));
    EXPECT_EQ(out, 1);
    Expect(
        0, [&] { return port->EnableAccessoriesPower(); }, ReadData("20") + WriteData("0"));
    EXPECT_EQ(rig_level(RIG_ACCESSORIES_POWER), 1);
    Expect(
        0, [&] { return port->CheckAccessoriesPower(&out); }, ReadData("0"));
    EXPECT_EQ(out, 1);
}

/// The wiring of the plugs in the field: nothing here may move.
TEST_F(SolvaneLptTest, BitsAreWiredAsInTheField) {
    const struct {
        lpt::Bit bit;
        lpt::Register where;
        int mask;
        int pin;
    } field[] = {{lpt::kDark, lpt::Register::Data, 0x01, 2},
                 {lpt::kTrigger, lpt::Register::Data, 0x02, 3},
                 {lpt::kAccessoriesPowerOff, lpt::Register::Data, 0x20, 7},
                 {lpt::kCameraPowerOff, lpt::Register::Data, 0x40, 8},
                 {lpt::kPowerLoopback, lpt::Register::Status, 0x10, 13},
                 {lpt::kReady, lpt::Register::Status, 0x20, 12},
                 {lpt::kNoMepFlag, lpt::Register::Status, 0x40, 10},
                 {lpt::kPresenceLoopback, lpt::Register::Status, 0x80, 11},
                 {lpt::kClearMep, lpt::Register::Control, 0x01, 1},
                 {lpt::kPowerProbe, lpt::Register::Control, 0x04, 16},
                 {lpt::kPresenceProbe, lpt::Register::Control, 0x08, 17}};
    for (const auto& wire : field) {
        EXPECT_EQ(wire.bit.where, wire.where);
        EXPECT_EQ(wire.bit.mask, wire.mask);
        EXPECT_EQ(wire.bit.pin, wire.pin);
    }
}

} // namespace
