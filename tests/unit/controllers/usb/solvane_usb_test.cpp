#include "solvane_usb.h"

#include <span>

#include "bit_port.h"
#include "chip_on_the_rig.h"

namespace {

using namespace SLV::Internal;
using namespace test;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

constexpr short kUntouched = 0x5A5A;

const std::string kMepLatched = std::string(kUsbCamera) + "[camera]\nmep_latched = true\n";

/// A configured controller; the lines at rest read f0 and 1f.
class SolvaneUsbTest : public OnTheRig {
  protected:
    SolvaneUsbTest() { Start(kUsbCamera); }

    void Start(const std::string& scenario) {
        usb.CloseDevice();
        Load(scenario);
        s_ft_handle = nullptr;
        EXPECT_EQ(usb.CheckAvailable(), 0);
        TakeJournal();
    }

    SolvaneUsb usb{logger};
    short out = kUntouched;
};

using Operation = short (*)(SolvaneInterface&);

struct NamedOperation {
    const char* name;
    Operation run;
};

std::ostream& operator<<(std::ostream& stream, const NamedOperation& operation) {
    return stream << operation.name;
}

short theOut;

const NamedOperation kGatedOperations[] = {
    {"CheckPowerControlAvailable",
     [](SolvaneInterface& usb) { return usb.CheckPowerControlAvailable(); }},
    {"TriggerCapture", [](SolvaneInterface& usb) { return usb.TriggerCapture(); }},
    {"EnableForcedBlackUpdate",
     [](SolvaneInterface& usb) { return usb.EnableForcedBlackUpdate(); }},
    {"DisableForcedBlackUpdate",
     [](SolvaneInterface& usb) { return usb.DisableForcedBlackUpdate(); }},
    {"WakeCamera", [](SolvaneInterface& usb) { return usb.WakeCamera(); }},
    {"EnableCameraPower", [](SolvaneInterface& usb) { return usb.EnableCameraPower(); }},
    {"DisableCameraPower", [](SolvaneInterface& usb) { return usb.DisableCameraPower(); }},
    {"EnableAccessoriesPower", [](SolvaneInterface& usb) { return usb.EnableAccessoriesPower(); }},
    {"DisableAccessoriesPower",
     [](SolvaneInterface& usb) { return usb.DisableAccessoriesPower(); }},
};

const NamedOperation kQuestions[] = {
    {"CheckAndResetMepFlag",
     [](SolvaneInterface& usb) { return usb.CheckAndResetMepFlag(&theOut); }},
    {"CheckSystemReady", [](SolvaneInterface& usb) { return usb.CheckSystemReady(&theOut); }},
    {"CheckForcedBlackUpdate",
     [](SolvaneInterface& usb) { return usb.CheckForcedBlackUpdate(&theOut); }},
    {"CheckCameraPower", [](SolvaneInterface& usb) { return usb.CheckCameraPower(&theOut); }},
    {"CheckAccessoriesPower",
     [](SolvaneInterface& usb) { return usb.CheckAccessoriesPower(&theOut); }},
};

const NamedOperation kNullQuestions[] = {
    {"CheckAndResetMepFlag",
     [](SolvaneInterface& usb) { return usb.CheckAndResetMepFlag(nullptr); }},
    {"CheckSystemReady", [](SolvaneInterface& usb) { return usb.CheckSystemReady(nullptr); }},
    {"CheckForcedBlackUpdate",
     [](SolvaneInterface& usb) { return usb.CheckForcedBlackUpdate(nullptr); }},
    {"CheckCameraPower", [](SolvaneInterface& usb) { return usb.CheckCameraPower(nullptr); }},
    {"CheckAccessoriesPower",
     [](SolvaneInterface& usb) { return usb.CheckAccessoriesPower(nullptr); }},
};

// ---- The gate ----

TEST_F(SolvaneUsbTest, EveryGatedOperationWithoutAChipIsMinusThreeAndTouchesNothing) {
    usb.CloseDevice();
    Load("");
    for (const auto& operations : {std::span<const NamedOperation>(kGatedOperations),
                                   std::span<const NamedOperation>(kQuestions),
                                   std::span<const NamedOperation>(kNullQuestions)}) {
        for (const NamedOperation& operation : operations) {
            theOut = kUntouched;
            EXPECT_EQ(operation.run(usb), -3) << operation;
            EXPECT_EQ(TakeJournal(), FindNoChip() + Entries(Log("Configure() result: -3")))
                << operation;
            EXPECT_EQ(theOut, kUntouched) << operation;
        }
    }
}

TEST_F(SolvaneUsbTest, EveryOperationMayBeTheFirst) {
    for (const auto& operations : {std::span<const NamedOperation>(kGatedOperations),
                                   std::span<const NamedOperation>(kQuestions)}) {
        for (const NamedOperation& operation : operations) {
            usb.CloseDevice();
            Load(kUsbCamera);
            EXPECT_EQ(operation.run(usb), 0) << operation;
            EXPECT_THAT(TakeJournal(), Contains(testing::EndsWith("Configure() result: 0")))
                << operation;
        }
    }
}

TEST_F(SolvaneUsbTest, ANullPointerIsMinusFourAfterTheGateAndReadsNothing) {
    for (const NamedOperation& question : kNullQuestions) {
        EXPECT_EQ(question.run(usb), -4) << question;
        EXPECT_THAT(TakeJournal(), IsEmpty()) << question;
    }
}

TEST_F(SolvaneUsbTest, PowerControlIsAvailableWhenTheChipIs) {
    EXPECT_EQ(usb.CheckPowerControlAvailable(), 0);
    EXPECT_THAT(TakeJournal(), IsEmpty());
}

// ---- TriggerCapture ----

TEST_F(SolvaneUsbTest, TriggerPulsesTheTriggerLineForTenMilliseconds) {
    EXPECT_EQ(usb.TriggerCapture(), 0);
    EXPECT_EQ(TakeJournal(),
              ReadHigh("f0") + Entries("timeBeginPeriod(1)") + ReadHigh("f0") +
                  WriteHigh("f1", "CLR-MEP-RDY-apw-cpw-drk-TRG-", "..") + Entries("Sleep(10)") +
                  WriteHigh("f0", "CLR-MEP-RDY-apw-cpw-drk-trg-") + Entries("timeEndPeriod(1)"));
    EXPECT_EQ(rig_captures(), 1u);
    EXPECT_EQ(rig_level(RIG_TRIGGER), 0);
}

TEST_F(SolvaneUsbTest, TriggerIsRefusedWhileNotReadyAndWritesNothing) {
    rig_force(RIG_READY, 0);
    EXPECT_EQ(usb.TriggerCapture(), -5);
    EXPECT_EQ(TakeJournal(),
              ReadHigh("e0") +
                  Entries(Log(" >>> read bits:  High Byte (BC)CLR-MEP-rdy-apw-cpw-drk-trg- 0xe0")));
    EXPECT_EQ(rig_captures(), 0u);
}

TEST_F(SolvaneUsbTest, TriggerClearsALatchedFlagFirst) {
    Start(kMepLatched);
    EXPECT_EQ(usb.TriggerCapture(), 0);
    EXPECT_EQ(TakeJournal(),
              ReadHigh("d0") + Entries("timeBeginPeriod(1)") + ReadHigh("d0") +
                  WriteHigh("90", "clr-mep-RDY-apw-cpw-drk-trg-", "..") + Entries("Sleep(0)") +
                  WriteHigh("d0", "CLR-mep-RDY-apw-cpw-drk-trg-") +
                  WriteHigh("d1", "CLR-mep-RDY-apw-cpw-drk-TRG-") + Entries("Sleep(10)") +
                  WriteHigh("d0", "CLR-mep-RDY-apw-cpw-drk-trg-") + Entries("timeEndPeriod(1)"));
}

TEST_F(SolvaneUsbTest, TriggerGoesOnWhenTheFlagCannotBeCleared) {
    Start(kMepLatched);
    FailStatus("FT_Write", 3, kIoError); // after the two reads
    EXPECT_EQ(usb.TriggerCapture(), 0);
    EXPECT_THAT(TakeJournal(), Not(Contains("Sleep(0)"))) << "no second edge without a first";
    EXPECT_EQ(rig_captures(), 1u);
}

TEST_F(SolvaneUsbTest, TriggerWithAnUnreadableReadyLineIsRefused) {
    FailStatus("FT_Write", 1, kIoError, 0);
    EXPECT_EQ(usb.TriggerCapture(), -5);
    EXPECT_THAT(TakeJournal(), Not(Contains("timeBeginPeriod(1)")));
}

TEST_F(SolvaneUsbTest, AnUnreadableFlagCountsAsNotLatched) {
    Start(kMepLatched);
    // The flag's read command, the three writes of the repair's Configure and the second read.
    FailStatus("FT_Write", 2, kIoError, 5);
    EXPECT_EQ(usb.TriggerCapture(), 0);
    EXPECT_THAT(TakeJournal(), Not(Contains("Sleep(0)")));
    EXPECT_EQ(rig_captures(), 1u);
}

/// Restoring sets the lines to rest; the trigger that the fault swallowed is not given late.
TEST_F(SolvaneUsbTest, ATriggerLostInARepairIsReportedAsGivenButNotGiven) {
    FailStatus("FT_Write", 3, kIoError);
    EXPECT_EQ(usb.TriggerCapture(), 0);
    EXPECT_EQ(rig_captures(), 0u);
    EXPECT_THAT(TakeEdges(), Not(Contains("trigger 1")));
}

TEST_F(SolvaneUsbTest, ATriggerThatCannotBeWrittenIsMinusTwo) {
    FailStatus("FT_Write", 3, kIoError, 0);
    EXPECT_EQ(usb.TriggerCapture(), -2);
    const Journal journal = TakeJournal();
    EXPECT_EQ(*(journal.end() - 2),
              Log("FT_Write failed with status:4 WriteBits status (after restore): 4"));
    EXPECT_EQ(journal.back(), "timeEndPeriod(1)") << "no pulse is waited for";
}

TEST_F(SolvaneUsbTest, ATriggerThatCannotBeLoweredIsMinusTwoAndNotRepaired) {
    FailStatus("FT_Write", 4, kIoError);
    EXPECT_EQ(usb.TriggerCapture(), -2);
    EXPECT_EQ(TakeJournal().back(), "timeEndPeriod(1)");
    EXPECT_EQ(rig_calls("FT_ResetPort"), 0u);
    EXPECT_EQ(rig_level(RIG_TRIGGER), 1);
}

// ---- The MEP flag ----

TEST_F(SolvaneUsbTest, AFlagThatIsNotLatchedIsZeroAndWritesNothing) {
    EXPECT_EQ(usb.CheckAndResetMepFlag(&out), 0);
    EXPECT_EQ(out, 0);
    EXPECT_EQ(TakeJournal(), ReadHigh("f0"));
}

TEST_F(SolvaneUsbTest, ALatchedFlagIsOneAndClearedWithOnePulse) {
    Start(kMepLatched);
    EXPECT_EQ(usb.CheckAndResetMepFlag(&out), 0);
    EXPECT_EQ(out, 1);
    EXPECT_EQ(TakeJournal(),
              ReadHigh("d0") + Entries("timeBeginPeriod(1)") +
                  WriteHigh("90", "clr-mep-RDY-apw-cpw-drk-trg-", ".") + Entries("Sleep(0)") +
                  WriteHigh("d0", "CLR-mep-RDY-apw-cpw-drk-trg-") + Entries("timeEndPeriod(1)"));
    EXPECT_EQ(usb.CheckAndResetMepFlag(&out), 0);
    EXPECT_EQ(out, 0) << "the latch let go";
}

TEST_F(SolvaneUsbTest, AFlagIsOneEvenWhenItsPulseFails) {
    for (const std::uint32_t failingWrite : {2u, 3u}) {
        Start(kMepLatched);
        FailStatus("FT_Write", failingWrite, kIoError);
        out = kUntouched;
        EXPECT_EQ(usb.CheckAndResetMepFlag(&out), 0);
        EXPECT_EQ(out, 1);
    }
}

TEST_F(SolvaneUsbTest, AFlagIsZeroUntilItsPulseHasBeenGiven) {
    static std::vector<short> seen;
    seen.clear();
    Start(kMepLatched);
    logger.Install(
        &out, [](void* flag, const char*) { seen.push_back(*static_cast<const short*>(flag)); });
    EXPECT_EQ(usb.CheckAndResetMepFlag(&out), 0);
    EXPECT_EQ(out, 1);
    EXPECT_THAT(seen, ElementsAre(0, 0)) << "at the two lines of the pulse";
    logger.Install(nullptr, LogToJournal);
}

TEST_F(SolvaneUsbTest, AFlagThatCannotBeReadIsZeroWithoutAPulse) {
    Start(kMepLatched);
    FailStatus("FT_Write", 1, kIoError, 0);
    EXPECT_EQ(usb.CheckAndResetMepFlag(&out), 0);
    EXPECT_EQ(out, 0);
    EXPECT_THAT(TakeJournal(), Not(Contains("timeBeginPeriod(1)")));
}

// ---- Questions ----

TEST_F(SolvaneUsbTest, ReadyFollowsItsLine) {
    EXPECT_EQ(usb.CheckSystemReady(&out), 0);
    EXPECT_EQ(out, 1);
    EXPECT_EQ(TakeJournal(), ReadHigh("f0"));
    rig_force(RIG_READY, 0);
    EXPECT_EQ(usb.CheckSystemReady(&out), 0);
    EXPECT_EQ(out, 0);
}

TEST_F(SolvaneUsbTest, DarkAndPowerAreReadBackFromTheLowByte) {
    EXPECT_EQ(usb.CheckForcedBlackUpdate(&out), 0);
    EXPECT_EQ(out, 0);
    EXPECT_EQ(TakeJournal(), ReadLow("1f"));
    EXPECT_EQ(usb.CheckCameraPower(&out), 0);
    EXPECT_EQ(out, 1);
    EXPECT_EQ(TakeJournal(), ReadLow("1f"));
    EXPECT_EQ(usb.CheckAccessoriesPower(&out), 0);
    EXPECT_EQ(out, 1);
    EXPECT_EQ(TakeJournal(), ReadLow("1f"));
}

/// An unknown power line must be taken for live, an unknown ready or dark line for inactive.
TEST_F(SolvaneUsbTest, LinesThatCannotBeReadAreOnForPowerAndOffForTheRest) {
    const struct {
        short (SolvaneUsb::*question)(short*);
        short answer;
    } expectations[] = {{&SolvaneUsb::CheckSystemReady, 0},
                        {&SolvaneUsb::CheckForcedBlackUpdate, 0},
                        {&SolvaneUsb::CheckCameraPower, 1},
                        {&SolvaneUsb::CheckAccessoriesPower, 1}};
    for (const auto& [question, answer] : expectations) {
        Start(std::string(kUsbCamera) + "[pulls]\ncamera_power = 0\naccessories_power = 0\n");
        FailStatus("FT_Write", 1, kIoError, 0);
        out = kUntouched;
        EXPECT_EQ((usb.*question)(&out), 0);
        EXPECT_EQ(out, answer);
    }
}

// ---- Dark and power ----

TEST_F(SolvaneUsbTest, DarkIsSwitchedOnAndOff) {
    EXPECT_EQ(usb.EnableForcedBlackUpdate(), 0);
    EXPECT_EQ(TakeJournal(), WriteHigh("f2", "CLR-MEP-RDY-apw-cpw-DRK-trg-"));
    EXPECT_EQ(rig_level(RIG_DARK), 1);
    usb.CheckForcedBlackUpdate(&out);
    EXPECT_EQ(out, 1);
    TakeJournal();
    EXPECT_EQ(usb.DisableForcedBlackUpdate(), 0);
    EXPECT_EQ(TakeJournal(), WriteHigh("f0", "CLR-MEP-RDY-apw-cpw-drk-trg-"));
    EXPECT_EQ(rig_level(RIG_DARK), 0);
}

TEST_F(SolvaneUsbTest, CameraPowerIsActiveLow) {
    EXPECT_EQ(usb.DisableCameraPower(), 0);
    EXPECT_EQ(TakeJournal(), WriteHigh("f4", "CLR-MEP-RDY-apw-CPW-drk-trg-"));
    EXPECT_EQ(rig_level(RIG_CAMERA_POWER), 0);
    usb.CheckCameraPower(&out);
    EXPECT_EQ(out, 0);
    EXPECT_EQ(TakeJournal(),
              ReadLow("5f") + Entries(Log(" >>> read bits:  Low Byte (BD): apw-CPW-drk- 0x5f")));
    EXPECT_EQ(usb.EnableCameraPower(), 0);
    EXPECT_EQ(TakeJournal(), WriteHigh("f0", "CLR-MEP-RDY-apw-cpw-drk-trg-"));
    EXPECT_EQ(rig_level(RIG_CAMERA_POWER), 1);
}

TEST_F(SolvaneUsbTest, AccessoriesPowerIsActiveLow) {
    EXPECT_EQ(usb.DisableAccessoriesPower(), 0);
    EXPECT_EQ(TakeJournal(), WriteHigh("f8", "CLR-MEP-RDY-APW-cpw-drk-trg-"));
    EXPECT_EQ(rig_level(RIG_ACCESSORIES_POWER), 0);
    usb.CheckAccessoriesPower(&out);
    EXPECT_EQ(out, 0);
    EXPECT_EQ(TakeJournal(),
              ReadLow("3f") + Entries(Log(" >>> read bits:  Low Byte (BD): APW-cpw-drk- 0x3f")));
    EXPECT_EQ(usb.EnableAccessoriesPower(), 0);
    EXPECT_EQ(TakeJournal(), WriteHigh("f0", "CLR-MEP-RDY-apw-cpw-drk-trg-"));
    EXPECT_EQ(rig_level(RIG_ACCESSORIES_POWER), 1);
}

TEST_F(SolvaneUsbTest, AClearThatFailsIsMinusTwoAndNotRepaired) {
    for (const auto clear : {&SolvaneUsb::DisableForcedBlackUpdate, &SolvaneUsb::EnableCameraPower,
                             &SolvaneUsb::EnableAccessoriesPower}) {
        FailStatus("FT_Write", 1, kIoError);
        EXPECT_EQ((usb.*clear)(), -2);
        EXPECT_EQ(rig_calls("FT_ResetPort"), 0u);
    }
}

TEST_F(SolvaneUsbTest, ASetThatFailsIsRepairedOnceAndThenMinusTwo) {
    for (const auto set : {&SolvaneUsb::EnableForcedBlackUpdate, &SolvaneUsb::DisableCameraPower,
                           &SolvaneUsb::DisableAccessoriesPower}) {
        Start(kUsbCamera);
        FailStatus("FT_Write", 1, kIoError, 0);
        EXPECT_EQ((usb.*set)(), -2);
        EXPECT_EQ(rig_calls("FT_ResetPort"), 1u);
    }
}

// ---- WakeCamera ----

TEST_F(SolvaneUsbTest, WakePulsesTheDarkLineUpWhenItIsDown) {
    EXPECT_EQ(usb.WakeCamera(), 0);
    EXPECT_EQ(TakeJournal(), ReadLow("1f") + WriteHigh("f2", "CLR-MEP-RDY-apw-cpw-DRK-trg-", ".") +
                                 Entries("Sleep(10)") + ReadLow("9f") +
                                 Entries(Log(" >>> read bits:  Low Byte (BD): apw-cpw-DRK- 0x9f")) +
                                 WriteHigh("f0", "CLR-MEP-RDY-apw-cpw-drk-trg-"));
    EXPECT_EQ(rig_level(RIG_DARK), 0);
}

TEST_F(SolvaneUsbTest, WakePulsesTheDarkLineDownWhenItIsUp) {
    usb.EnableForcedBlackUpdate();
    usb.CheckForcedBlackUpdate(&out);
    TakeJournal();
    EXPECT_EQ(usb.WakeCamera(), 0);
    EXPECT_EQ(TakeJournal(), ReadLow("9f") + WriteHigh("f0", "CLR-MEP-RDY-apw-cpw-drk-trg-", ".") +
                                 Entries("Sleep(10)") + ReadLow("1f") +
                                 Entries(Log(" >>> read bits:  Low Byte (BD): apw-cpw-drk- 0x1f")) +
                                 WriteHigh("f2", "CLR-MEP-RDY-apw-cpw-DRK-trg-"));
    EXPECT_EQ(rig_level(RIG_DARK), 1);
}

TEST_F(SolvaneUsbTest, WakeWakesASleepingCamera) {
    Start(std::string(kUsbCamera) + "[camera]\nasleep = true\n");
    EXPECT_EQ(usb.TriggerCapture(), -5);
    EXPECT_EQ(usb.WakeCamera(), 0);
    EXPECT_EQ(usb.TriggerCapture(), 0);
    EXPECT_EQ(rig_captures(), 1u);
}

TEST_F(SolvaneUsbTest, WakeWithAnUnreadableDarkLineIsMinusTwoAndWritesNothing) {
    FailStatus("FT_Write", 1, kIoError, 0);
    EXPECT_EQ(usb.WakeCamera(), -2);
    EXPECT_EQ(TakeJournal().back(), Log(" TogglePin: invalid state of bit \x02"));
}

TEST_F(SolvaneUsbTest, WakeThatCannotWriteTheFirstEdgeIsMinusTwo) {
    usb.EnableForcedBlackUpdate();
    FailStatus("FT_Write", 2, kIoError); // the clear after the read
    EXPECT_EQ(usb.WakeCamera(), -2);
    EXPECT_THAT(TakeJournal(), Not(Contains("Sleep(10)")));
}

TEST_F(SolvaneUsbTest, WakeThatCannotWriteTheSecondEdgeIsMinusTwo) {
    FailStatus("FT_Write", 4, kIoError); // read, set, read, clear
    EXPECT_EQ(usb.WakeCamera(), -2);
    EXPECT_EQ(rig_level(RIG_DARK), 1);
}

TEST_F(SolvaneUsbTest, WakeLeavesTheTimerResolutionAlone) {
    usb.WakeCamera();
    EXPECT_THAT(TakeJournal(), Not(Contains(testing::StartsWith("timeBeginPeriod"))));
}

// ---- A chip that leaves ----

TEST_F(SolvaneUsbTest, AChipThatWasReplacedIsOpenedAgainInsideTheOperation) {
    rig_unplug(0);
    rig_plug(0);
    EXPECT_EQ(usb.CheckSystemReady(&out), 0);
    EXPECT_EQ(out, 1);
    EXPECT_THAT(TakeLog(), Contains("Port resetting failed. Error: 4"));
}

TEST_F(SolvaneUsbTest, AChipThatIsGoneIsNoHardwareUntilItReturns) {
    rig_unplug(0);
    EXPECT_EQ(usb.CheckSystemReady(&out), 0) << "the operation that meets the loss";
    EXPECT_EQ(out, 0);
    EXPECT_EQ(usb.CheckSystemReady(&out), -3);
    rig_plug(0);
    EXPECT_EQ(usb.CheckSystemReady(&out), 0);
    EXPECT_EQ(out, 1);
}

} // namespace
