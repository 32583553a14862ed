/// The chip behind SolvaneUsb: open, initialise, close, bring back, reset the serial channel.

#include "bit_port.h"
#include "chip_on_the_rig.h"
#include "solvane_usb.h"

namespace {

using namespace SLV::Internal;
using namespace test;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

constexpr const char* kSlowChip = "[[usb]]\nchip = \"FT2232H\"\nserial = \"SLV1\"\n"
                                  "reset_port_ms = 25\n";
constexpr const char* kLostChip = "[[usb]]\nchip = \"FT2232H\"\nserial = \"SLV1\"\n"
                                  "reset_port_ms = -1\n";

const std::string kAtRest = "CLR-MEP-RDY-apw-cpw-drk-trg-";

class FtdiChannelTest : public OnTheRig {
  protected:
    /// What Configure reads and writes once the chip is in MPSSE mode, with cold caches.
    static Journal FirstReadsAndRestState() {
        return ReadHigh("f0") +
               Entries(Log(" >>> read bits:  High Byte (BC)" + kAtRest + " 0xf0")) +
               WriteHigh("f0", kAtRest) + ReadLow("1f") +
               Entries(Log(" >>> read bits:  Low Byte (BD): apw-cpw-drk- 0x1f"));
    }

    SolvaneUsb usb{logger};
};

// ---- Configure ----

TEST_F(FtdiChannelTest, ConstructionOpensNothing) {
    EXPECT_THAT(TakeJournal(), IsEmpty());
    EXPECT_EQ(s_highPort.logger, &logger);
    EXPECT_EQ(s_lowPort.logger, &logger);
}

TEST_F(FtdiChannelTest, ConfigureFindsOpensAndInitialisesChannelB) {
    EXPECT_EQ(usb.CheckAvailable(), 0);
    EXPECT_EQ(TakeJournal(), FindOneChip() + OpenAndInitialise() + FirstReadsAndRestState() +
                                 Entries(Log("Configure() result: 0")));
}

TEST_F(FtdiChannelTest, ConfigureGivesNoEdgeOnPowerOrDark) {
    Load(std::string(kUsbCamera) + "[pulls]\ntrigger = 1\nclear_mep = 1\ndark = 1\n"
                                   "camera_power = 0\naccessories_power = 0\n");
    EXPECT_EQ(usb.CheckAvailable(), 0);
    EXPECT_THAT(TakeEdges(), testing::UnorderedElementsAre("trigger 0", "clear_mep 0"));
    EXPECT_EQ(s_highPort.value & 0x4F, 0x4E);
}

TEST_F(FtdiChannelTest, AConfiguredControllerDoesNothingMore) {
    usb.CheckAvailable();
    TakeJournal();
    EXPECT_EQ(usb.CheckAvailable(), 0);
    EXPECT_THAT(TakeJournal(), IsEmpty());
}

TEST_F(FtdiChannelTest, NoChipIsNoHardware) {
    Load("");
    EXPECT_EQ(usb.CheckAvailable(), -3);
    EXPECT_EQ(TakeJournal(), FindNoChip() + Entries(Log("Configure() result: -3")));
    EXPECT_EQ(usb.CheckAvailable(), -3);
    EXPECT_EQ(TakeJournal(), FindNoChip() + Entries(Log("Configure() result: -3")))
        << "and is looked for again";
}

TEST_F(FtdiChannelTest, ANumberOfDevicesThatIsNotToldIsNone) {
    FailSilently("FT_CreateDeviceInfoList", 1);
    EXPECT_EQ(usb.CheckAvailable(), -3);
    EXPECT_THAT(TakeLog(),
                ElementsAre("There are no FTDI devices installed", "Configure() result: -3"));
}

TEST_F(FtdiChannelTest, OnlyAnFt232RIsDumpedAndNoHardware) {
    Load("[[usb]]\nchip = \"FT232R\"\nserial = \"R1\"\n");
    EXPECT_EQ(usb.CheckAvailable(), -3);
    const Journal log = TakeLog();
    EXPECT_THAT(log, Contains("No valid device found in following device list: "));
    EXPECT_THAT(log, Contains(" SerialNumber=R1"));
    EXPECT_THAT(log, Contains(" Type=0x5"));
    EXPECT_EQ(log.back(), "Configure() result: -3");
}

TEST_F(FtdiChannelTest, AFailingOpenIsLogged) {
    FailStatus("FT_Open", 1, 3);
    EXPECT_EQ(usb.CheckAvailable(), -3);
    EXPECT_EQ(TakeJournal(), FindOneChip() + Entries(Log("Open device #1..."), "FT_Open(1) -> 3",
                                                     Log("Open FTDI device failed with error: 3"),
                                                     Log("Configure() result: -3")));
}

struct InitialisationStep {
    const char* function;
    std::uint32_t call;
};

std::ostream& operator<<(std::ostream& stream, const InitialisationStep& step) {
    return stream << step.function << " " << step.call;
}

class FtdiInitialisationTest : public FtdiChannelTest,
                               public testing::WithParamInterface<InitialisationStep> {};

TEST_P(FtdiInitialisationTest, AFailingStepDoesNotKeepTheOthersFromBeingDone) {
    FailStatus(GetParam().function, GetParam().call, 8);
    EXPECT_EQ(usb.CheckAvailable(), -3);
    const Journal journal = TakeJournal();
    const Journal healthy = FindOneChip() + OpenAndInitialise();
    ASSERT_EQ(journal.size(), healthy.size() - 1 + 2) << "all steps, no sleep, two lines";
    for (std::size_t i = 0; i + 1 < healthy.size(); ++i) {
        const std::string call = healthy[i].substr(0, healthy[i].find(" -> "));
        EXPECT_EQ(journal[i].substr(0, call.size()), call);
    }
    EXPECT_EQ(journal[healthy.size() - 1], Log("FTDI chip initialization failed. Error: 8"));
    EXPECT_EQ(journal.back(), Log("Configure() result: -3"));
    EXPECT_NE(s_ft_handle, nullptr) << "the handle stays open";
}

INSTANTIATE_TEST_SUITE_P(EachStep, FtdiInitialisationTest,
                         testing::Values(InitialisationStep{"FT_ResetDevice", 1},
                                         InitialisationStep{"FT_GetQueueStatus", 1},
                                         InitialisationStep{"FT_SetUSBParameters", 1},
                                         InitialisationStep{"FT_SetChars", 1},
                                         InitialisationStep{"FT_SetTimeouts", 1},
                                         InitialisationStep{"FT_SetLatencyTimer", 1},
                                         InitialisationStep{"FT_SetFlowControl", 1},
                                         InitialisationStep{"FT_SetBitMode", 1},
                                         InitialisationStep{"FT_SetBitMode", 2}));

TEST_F(FtdiChannelTest, TheStatusesOfAllStepsAreCombinedBitByBit) {
    FailStatus("FT_SetChars", 1, 4);
    FailStatus("FT_SetBitMode", 2, 18);
    usb.CheckAvailable();
    EXPECT_THAT(TakeLog(), Contains("FTDI chip initialization failed. Error: 22"));
}

TEST_F(FtdiChannelTest, AHandleLeftByAFailedInitialisationIsOverwrittenWithoutClosing) {
    FailStatus("FT_SetChars", 1, kIoError);
    usb.CheckAvailable();
    const FT_HANDLE left = s_ft_handle;
    rig_unplug(0); // the library lets nobody else open a channel that is open
    rig_plug(0);
    TakeJournal();
    EXPECT_EQ(usb.CheckAvailable(), 0);
    EXPECT_NE(s_ft_handle, left);
    EXPECT_THAT(TakeJournal(), Not(Contains(testing::StartsWith("FT_Close"))));
}

TEST_F(FtdiChannelTest, WaitingBytesAreReadBeforeTheParametersAreSet) {
    FailCount("FT_GetQueueStatus", 1, 3);
    EXPECT_EQ(usb.CheckAvailable(), 0);
    const Journal journal = TakeJournal();
    const auto asked =
        std::find(journal.begin(), journal.end(), "FT_GetQueueStatus(SLV1B) -> 0, 3");
    ASSERT_NE(asked, journal.end());
    EXPECT_EQ(*(asked + 1), "FT_Read(SLV1B, 3) -> 0, []");
    EXPECT_EQ(*(asked + 2), "FT_SetUSBParameters(SLV1B, 64, 64) -> 0");
}

TEST_F(FtdiChannelTest, NothingIsDrainedWhenTheResetFailed) {
    FailStatus("FT_ResetDevice", 1, kIoError);
    FailCount("FT_GetQueueStatus", 1, 3);
    usb.CheckAvailable();
    EXPECT_THAT(TakeJournal(), Not(Contains(testing::StartsWith("FT_Read"))));
}

TEST_F(FtdiChannelTest, AFailingDrainIsNoFailureOfTheInitialisation) {
    FailCount("FT_GetQueueStatus", 1, 3);
    FailStatus("FT_Read", 1, kIoError);
    EXPECT_EQ(usb.CheckAvailable(), 0);
    EXPECT_THAT(TakeJournal(), Contains("FT_Read(SLV1B, 3) -> 4"));
}

TEST_F(FtdiChannelTest, ADrainThatIsToldOfNoBytesEnds) {
    FailCount("FT_GetQueueStatus", 1, 3);
    FailSilently("FT_Read", 1);
    EXPECT_EQ(usb.CheckAvailable(), 0);
    EXPECT_THAT(TakeJournal(), Not(Contains(testing::StartsWith("FT_Read(SLV1B, 2)"))));
}

TEST_F(FtdiChannelTest, AQueueWhoseLengthIsNotToldIsNotDrained) {
    FailSilently("FT_GetQueueStatus", 1);
    EXPECT_EQ(usb.CheckAvailable(), 0);
    const Journal journal = TakeJournal();
    const auto next = std::find(journal.begin(), journal.end(), "FT_ResetDevice(SLV1B) -> 0") + 2;
    EXPECT_EQ(*next, "FT_SetUSBParameters(SLV1B, 64, 64) -> 0");
}

TEST_F(FtdiChannelTest, AHugeWaitingCountIsReadInPiecesUntilOneIsShort) {
    FailCount("FT_GetQueueStatus", 1, 0xFFFF'FFFF);
    EXPECT_EQ(usb.CheckAvailable(), 0);
    const Journal journal = TakeJournal();
    EXPECT_EQ(std::count(journal.begin(), journal.end(), "FT_Read(SLV1B, 65536) -> 0, []"), 1);
}

TEST_F(FtdiChannelTest, FaultsOfTheFirstReadsAndTheRestStateAreIgnored) {
    FailStatus("FT_Write", 1, kIoError, 3);
    EXPECT_EQ(usb.CheckAvailable(), 0);
    EXPECT_EQ(TakeLog(), (Entries("Total FTDI devices available:  2", "Open device #1...",
                                  "FT_Write failed with error: 4",
                                  "FT_Write failed with status:4FT_Write failed with error: 4",
                                  "Configure() result: 0")));
}

// ---- CloseFtdi ----

TEST_F(FtdiChannelTest, ClosingClosesOnceAndTheNextOperationOpensAgain) {
    usb.CheckAvailable();
    TakeJournal();
    EXPECT_EQ(usb.CloseDevice(), 0);
    EXPECT_THAT(TakeJournal(), ElementsAre(Log("Closing device..."), "FT_Close(SLV1B) -> 0"));
    EXPECT_EQ(s_ft_handle, nullptr);
    EXPECT_EQ(usb.CloseDevice(), 0);
    EXPECT_THAT(TakeJournal(), IsEmpty());
    EXPECT_EQ(usb.CheckAvailable(), 0);
    EXPECT_THAT(TakeJournal(), Contains("FT_Open(1) -> 0"));
}

TEST_F(FtdiChannelTest, AFailingCloseIsLoggedAndForgotten) {
    usb.CheckAvailable();
    FailStatus("FT_Close", 1, kIoError);
    TakeJournal();
    EXPECT_EQ(usb.CloseDevice(), 0);
    EXPECT_THAT(TakeJournal(), ElementsAre(Log("Closing device..."), "FT_Close(SLV1B) -> 4",
                                           Log("Closing device failed. Error: 4")));
    EXPECT_EQ(s_ft_handle, nullptr);
}

TEST_F(FtdiChannelTest, ClosingWhatWasNeverConfiguredTouchesNothing) {
    FailStatus("FT_SetChars", 1, kIoError);
    usb.CheckAvailable();
    TakeJournal();
    EXPECT_EQ(usb.CloseDevice(), 0);
    EXPECT_THAT(TakeJournal(), IsEmpty()) << "not even the handle of a failed initialisation";
}

TEST_F(FtdiChannelTest, DestructionClosesAnyOpenHandle) {
    auto other = std::make_unique<SolvaneUsb>(logger);
    other->CheckAvailable();
    TakeJournal();
    other.reset();
    EXPECT_THAT(TakeJournal(), ElementsAre(Log("Closing device..."), "FT_Close(SLV1B) -> 0"));
    std::make_unique<SolvaneUsb>(logger).reset();
    EXPECT_THAT(TakeJournal(), IsEmpty());
}

// ---- ResetPortAndWait and RestoreAvailability ----

TEST_F(FtdiChannelTest, ARepairResetsThePortWaitsForTheChipAndConfiguresAgain) {
    Load(kSlowChip);
    usb.CheckAvailable();
    TakeJournal();
    EXPECT_TRUE(s_highPort.restore());
    EXPECT_EQ(TakeJournal(),
              Entries(Log("Resetting the port ..."), "FT_ResetPort(SLV1B) -> 0",
                      Log("Closing device..."), "FT_Close(SLV1B) -> 0") +
                  Times(3, FindNoChip() + Entries(Log("Waiting for device..."), "Sleep(10)")) +
                  FindOneChip() + Entries(Log("Device been restored after port resetting.")) +
                  FindOneChip() + OpenAndInitialise() + ReadHigh("f0") +
                  WriteHigh("f0", kAtRest, ".") + ReadLow("1f") +
                  Entries(Log(".Configure() result: 0")));
}

/// Channels are told apart by their letters: the lines may be the first of the list.
TEST_F(FtdiChannelTest, AChannelAtTheHeadOfTheListIsOpenedAndFoundAgain) {
    Load(std::string(kUsbCamera) + "letters = \"BA\"\n");
    EXPECT_EQ(usb.CheckAvailable(), 0);
    EXPECT_THAT(TakeJournal(), Contains("FT_Open(0) -> 0"));
    EXPECT_TRUE(s_highPort.restore());
    EXPECT_THAT(TakeLog(), Contains("Device been restored after port resetting."));
}

TEST_F(FtdiChannelTest, BothPortsShareTheRepair) {
    usb.CheckAvailable();
    TakeJournal();
    EXPECT_TRUE(s_lowPort.restore());
    EXPECT_THAT(TakeJournal(), Contains("FT_ResetPort(SLV1B) -> 0"));
}

TEST_F(FtdiChannelTest, AChipThatNeverComesBackIsWaitedForThreeHundredTimes) {
    Load(kLostChip);
    usb.CheckAvailable();
    TakeJournal();
    EXPECT_FALSE(s_highPort.restore());
    EXPECT_EQ(TakeJournal(),
              Entries(Log("Resetting the port ..."), "FT_ResetPort(SLV1B) -> 0",
                      Log("Closing device..."), "FT_Close(SLV1B) -> 0") +
                  Times(300, FindNoChip() + Entries(Log("Waiting for device..."), "Sleep(10)")) +
                  FindNoChip() + Entries(Log("Configure() result: -3")));
}

TEST_F(FtdiChannelTest, AFailingPortResetLeavesTheChipOpen) {
    usb.CheckAvailable();
    const FT_HANDLE handle = s_ft_handle;
    FailStatus("FT_ResetPort", 1, 17);
    TakeJournal();
    EXPECT_FALSE(s_highPort.restore());
    EXPECT_EQ(TakeJournal(), Entries(Log("Resetting the port ..."), "FT_ResetPort(SLV1B) -> 17",
                                     Log("Port resetting failed. Error: 17")) +
                                 FindOneChip() +
                                 Entries(Log("Open device #1..."), "FT_Open(1) -> 3",
                                         Log("Open FTDI device failed with error: 3"),
                                         Log("Configure() result: -3")));
    EXPECT_EQ(s_ft_handle, handle);
}

TEST_F(FtdiChannelTest, ARepairWithoutAnOpenChipOnlyConfigures) {
    usb.CheckAvailable();
    usb.CloseDevice();
    TakeJournal();
    EXPECT_TRUE(s_highPort.restore());
    const Journal journal = TakeJournal();
    EXPECT_EQ(journal.front(), Log("Broken logic: no opened device for port resetting!"));
    EXPECT_THAT(journal, Not(Contains(testing::StartsWith("FT_ResetPort"))));
    EXPECT_EQ(journal.back(), Log(".Configure() result: 0"));
}

TEST_F(FtdiChannelTest, AFailedRepairIsTriedAgainByTheNextOperation) {
    Load(kLostChip);
    usb.CheckAvailable();
    s_highPort.restore();
    rig_plug(0);
    EXPECT_EQ(usb.CheckAvailable(), 0);
}

// ---- ResetComPort ----

TEST_F(FtdiChannelTest, ResettingTheSerialChannelOpensResetsAndClosesChannelA) {
    EXPECT_EQ(usb.ResetComPort(), 0);
    EXPECT_EQ(TakeJournal(),
              FindOneChip() + Entries(Log("Open COM device #0..."), "FT_Open(0) -> 0",
                                      Log("COM device opened."), "FT_ResetDevice(SLV1A) -> 0",
                                      Log("COM device was reset."), "FT_Close(SLV1A) -> 0",
                                      Log("COM device been closed.")));
    EXPECT_EQ(s_ft_handle, nullptr);
}

TEST_F(FtdiChannelTest, ResettingTheSerialChannelWithoutAChipOpensNothing) {
    Load("");
    EXPECT_EQ(usb.ResetComPort(), -3);
    EXPECT_EQ(TakeJournal(), FindNoChip());
}

TEST_F(FtdiChannelTest, ASerialChannelThatCannotBeOpened) {
    FailStatus("FT_Open", 1, 3);
    EXPECT_EQ(usb.ResetComPort(), -2);
    EXPECT_EQ(TakeJournal(),
              FindOneChip() + Entries(Log("Open COM device #0..."), "FT_Open(0) -> 3",
                                      Log("Open COM device failed with error: 3")));
}

TEST_F(FtdiChannelTest, ASerialChannelThatCannotBeResetStaysOpen) {
    FailStatus("FT_ResetDevice", 1, kIoError);
    EXPECT_EQ(usb.ResetComPort(), -2);
    EXPECT_EQ(TakeJournal(),
              FindOneChip() + Entries(Log("Open COM device #0..."), "FT_Open(0) -> 0",
                                      Log("COM device opened."), "FT_ResetDevice(SLV1A) -> 4",
                                      Log("Reset COM device failed with error: 4")));
}

TEST_F(FtdiChannelTest, ASerialChannelThatCannotBeClosed) {
    FailStatus("FT_Close", 1, kIoError);
    EXPECT_EQ(usb.ResetComPort(), -2);
    EXPECT_EQ(TakeLog().back(), "Close COM device failed with error: 4");
}

} // namespace
