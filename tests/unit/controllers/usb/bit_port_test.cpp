#include "bit_port.h"

#include "chip_on_the_rig.h"

namespace {

using namespace SLV::Internal;
using namespace test;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

/// D2XX's number for a failure of another kind, which hosts read in the log.
constexpr FT_STATUS kOtherError = 18;

/// Channel B open and in MPSSE mode; the lines at rest read f0 and 1f.
class BitPortTest : public OnTheRig {
  protected:
    BitPortTest() {
        FT_Open(1, &s_ft_handle);
        FT_SetLatencyTimer(s_ft_handle, 1);
        FT_SetBitMode(s_ft_handle, 0, FT_BITMODE_MPSSE);
        s_highPort.logger = &logger;
        s_lowPort.logger = &logger;
        TakeJournal();
    }

    /// A recovery that is noted in the journal and ends as told.
    static void RestoreWith(bool result) {
        s_highPort.restore = [result] {
            rig_note("restore");
            return result;
        };
        s_lowPort.restore = s_highPort.restore;
    }

    /// The text of the line that is not ended yet, without its time stamp.
    std::string Pending() {
        const std::string text = std::string(logger.stream.View());
        return text.empty() ? text : text.substr(text.find("] ") + 2);
    }
};

const std::string kAtRest = "CLR-MEP-RDY-apw-cpw-drk-trg-";

TEST_F(BitPortTest, PortsStartWithTheirDirectionsAndOpcodes) {
    EXPECT_EQ(s_highPort.direction, 0x4F);
    EXPECT_EQ(s_highPort.setOpcode, 0x82);
    EXPECT_EQ(s_highPort.readOpcode, 0x83);
    EXPECT_EQ(s_highPort.value, 0x00);
    EXPECT_EQ(s_lowPort.direction, 0x00);
    EXPECT_EQ(s_lowPort.setOpcode, 0x80);
    EXPECT_EQ(s_lowPort.readOpcode, 0x81);
    EXPECT_EQ(s_lowPort.value, 0x00);
}

// ---- Dumps ----

TEST_F(BitPortTest, DescribesTheHighByteBitByBit) {
    EXPECT_EQ(DescribeHighByte(0x50).View(), "High Byte (BC)CLR-mep-RDY-apw-cpw-drk-trg-");
    EXPECT_EQ(DescribeHighByte(0x00).View(), "High Byte (BC)clr-mep-rdy-apw-cpw-drk-trg-");
    EXPECT_EQ(DescribeHighByte(0xFF).View(), "High Byte (BC)CLR-MEP-RDY-APW-CPW-DRK-TRG-");
    EXPECT_EQ(DescribeHighByte(0x80).View(), DescribeHighByte(0x00).View()) << "bit 7 is not used";
    EXPECT_EQ(DescribeHighByte(0x01).View(), "High Byte (BC)clr-mep-rdy-apw-cpw-drk-TRG-");
    EXPECT_EQ(DescribeHighByte(0x02).View(), "High Byte (BC)clr-mep-rdy-apw-cpw-DRK-trg-");
    EXPECT_EQ(DescribeHighByte(0x04).View(), "High Byte (BC)clr-mep-rdy-apw-CPW-drk-trg-");
    EXPECT_EQ(DescribeHighByte(0x08).View(), "High Byte (BC)clr-mep-rdy-APW-cpw-drk-trg-");
    EXPECT_EQ(DescribeHighByte(0x10).View(), "High Byte (BC)clr-mep-RDY-apw-cpw-drk-trg-");
    EXPECT_EQ(DescribeHighByte(0x20).View(), "High Byte (BC)clr-MEP-rdy-apw-cpw-drk-trg-");
    EXPECT_EQ(DescribeHighByte(0x40).View(), "High Byte (BC)CLR-mep-rdy-apw-cpw-drk-trg-");
}

TEST_F(BitPortTest, DescribesTheLowByteBitByBit) {
    EXPECT_EQ(DescribeLowByte(0x00).View(), "Low Byte (BD): apw-cpw-drk-");
    EXPECT_EQ(DescribeLowByte(0x20).View(), "Low Byte (BD): APW-cpw-drk-");
    EXPECT_EQ(DescribeLowByte(0x40).View(), "Low Byte (BD): apw-CPW-drk-");
    EXPECT_EQ(DescribeLowByte(0x80).View(), "Low Byte (BD): apw-cpw-DRK-");
    EXPECT_EQ(DescribeLowByte(0x1F).View(), DescribeLowByte(0x00).View())
        << "bits 0 to 4 are not used";
}

// ---- ReadBits ----

TEST_F(BitPortTest, ReadsTheHighByteWithOneCommand) {
    EXPECT_EQ(ReadBits(s_highPort), FT_OK);
    EXPECT_EQ(s_highPort.value, 0xF0);
    EXPECT_EQ(TakeJournal(),
              ReadHigh("f0") + Entries(Log(" >>> read bits:  High Byte (BC)" + kAtRest + " 0xf0")));
}

TEST_F(BitPortTest, ReadsTheLowByteWithOneCommand) {
    EXPECT_EQ(ReadBits(s_lowPort), FT_OK);
    EXPECT_EQ(s_lowPort.value, 0x1F);
    EXPECT_EQ(TakeJournal(),
              ReadLow("1f") + Entries(Log(" >>> read bits:  Low Byte (BD): apw-cpw-drk- 0x1f")));
}

TEST_F(BitPortTest, ShowsUnchangedPollsAsDotsAheadOfTheNextMessage) {
    ReadBits(s_highPort);
    TakeJournal();
    ReadBits(s_highPort);
    ReadBits(s_highPort);
    EXPECT_EQ(TakeJournal(), ReadHigh("f0") + ReadHigh("f0")) << "a dot is no line of its own";
    EXPECT_EQ(Pending(), "..");
    rig_force(RIG_READY, 0);
    ReadBits(s_highPort);
    EXPECT_THAT(TakeLog(), ElementsAre(".. >>> read bits:  High Byte "
                                       "(BC)CLR-MEP-rdy-apw-cpw-drk-trg- 0xe0"));
}

TEST_F(BitPortTest, ReadStopsAtAFailingCommand) {
    FailStatus("FT_Write", 1, kIoError);
    EXPECT_EQ(ReadBits(s_highPort), kIoError);
    EXPECT_EQ(TakeJournal(),
              (Entries("FT_Write(SLV1B, [83]) -> 4", Log("FT_Write failed with error: 4"))));
    EXPECT_EQ(s_highPort.value, 0x00);
}

TEST_F(BitPortTest, AShortWriteOfTheReadCommandIsNotTested) {
    FailCount("FT_Write", 1, 0);
    EXPECT_EQ(ReadBits(s_highPort), kOtherError) << "the chip never saw the command";
    EXPECT_EQ(rig_calls("FT_GetQueueStatus"), 100u);
}

TEST_F(BitPortTest, AChipThatNeverAnswersIsPolledAHundredTimes) {
    FailSilently("FT_Write", 1);
    EXPECT_EQ(ReadBits(s_highPort), kOtherError);
    const Journal attempt{"Sleep(2)", "FT_GetQueueStatus(SLV1B) -> 0, 0",
                          Log("FT_GetQueueStatus error: not only one byte available for read! 0")};
    EXPECT_EQ(TakeJournal(),
              Entries("FT_Write(SLV1B, [83]) -> 0") + Times(100, attempt) +
                  Entries(Log("FT_GetQueueStatus error: Giving up with FT_GetQueueStatus - too "
                              "many retries: 0")));
}

TEST_F(BitPortTest, TwoWaitingBytesEndThePollAtOnce) {
    FailCount("FT_GetQueueStatus", 1, 2);
    EXPECT_EQ(ReadBits(s_highPort), kOtherError);
    EXPECT_THAT(
        TakeJournal(),
        ElementsAre("FT_Write(SLV1B, [83]) -> 0, 1", "Sleep(2)", "FT_GetQueueStatus(SLV1B) -> 0, 2",
                    Log("FT_GetQueueStatus error: not only one byte available for read! 2"),
                    Log("FT_GetQueueStatus error: Giving up with FT_GetQueueStatus - too many "
                        "retries: 2")));
}

TEST_F(BitPortTest, AFailingPollIsLoggedAndRepeated) {
    FailStatus("FT_GetQueueStatus", 1, kIoError, 2);
    EXPECT_EQ(ReadBits(s_lowPort), FT_OK);
    const Journal attempt{"Sleep(2)", "FT_GetQueueStatus(SLV1B) -> 4",
                          Log("FT_GetQueueStatus failed with error: 4")};
    EXPECT_EQ(TakeJournal(), Entries("FT_Write(SLV1B, [81]) -> 0, 1") + Times(2, attempt) +
                                 Entries("Sleep(2)", "FT_GetQueueStatus(SLV1B) -> 0, 1",
                                         "FT_Read(SLV1B, 1) -> 0, [1f]",
                                         Log(" >>> read bits:  Low Byte (BD): apw-cpw-drk- 0x1f")));
}

TEST_F(BitPortTest, GivesUpWithTheStatusOfTheLastFailingPoll) {
    FailStatus("FT_GetQueueStatus", 1, kIoError, 99);
    FailStatus("FT_GetQueueStatus", 100, 1);
    EXPECT_EQ(ReadBits(s_highPort), 1u);
    EXPECT_EQ(TakeLog().back(), "FT_GetQueueStatus error: Giving up with FT_GetQueueStatus - too "
                                "many retries: 0");
}

TEST_F(BitPortTest, GivesUpWithEighteenWhenTheLastPollFoundTheQueueEmpty) {
    FailSilently("FT_Write", 1);
    FailStatus("FT_GetQueueStatus", 1, kIoError, 99);
    EXPECT_EQ(ReadBits(s_highPort), kOtherError);
}

TEST_F(BitPortTest, TheLastReportedCountStandsInTheGiveUpLine) {
    const rig_fault reportsAndFails{
        "FT_GetQueueStatus", 1, 1, RIG_FAULT_STATUS | RIG_FAULT_COUNT, kIoError, 7};
    ASSERT_EQ(rig_add_fault(&reportsAndFails), 0);
    FailStatus("FT_GetQueueStatus", 2, kIoError, 0);
    EXPECT_EQ(ReadBits(s_highPort), kIoError);
    EXPECT_EQ(TakeLog().back(), "FT_GetQueueStatus error: Giving up with FT_GetQueueStatus - too "
                                "many retries: 7");
}

TEST_F(BitPortTest, AFailingReadIsToldByTheStatusAlone) {
    FailStatus("FT_Read", 1, kIoError);
    EXPECT_EQ(ReadBits(s_highPort), kIoError);
    EXPECT_THAT(TakeLog(), IsEmpty()) << "no failure line of its own";
    EXPECT_EQ(Pending(), ".") << "the byte is unchanged";
}

TEST_F(BitPortTest, AFailingReadThatMovedAByteShowsIt) {
    const rig_fault movesAndFails{"FT_Read", 1, 1, RIG_FAULT_STATUS | RIG_FAULT_COUNT, kIoError, 1};
    ASSERT_EQ(rig_add_fault(&movesAndFails), 0);
    EXPECT_EQ(ReadBits(s_highPort), kIoError);
    EXPECT_EQ(s_highPort.value, 0xF0);
    EXPECT_THAT(TakeLog(), ElementsAre(" >>> read bits:  High Byte (BC)" + kAtRest + " 0xf0"));
}

TEST_F(BitPortTest, TheNumberOfBytesReadIsNotTested) {
    s_highPort.value = 0x55;
    FailCount("FT_Read", 1, 0);
    EXPECT_EQ(ReadBits(s_highPort), FT_OK);
    EXPECT_EQ(s_highPort.value, 0x55);
    EXPECT_EQ(Pending(), ".");
}

// ---- WriteBits ----

TEST_F(BitPortTest, WritesTheHighByteWithItsDirection) {
    s_highPort.value = 0x51;
    EXPECT_EQ(WriteBits(), FT_OK);
    EXPECT_EQ(TakeJournal(), WriteHigh("51", "CLR-mep-RDY-apw-cpw-drk-TRG-"));
    EXPECT_EQ(rig_level(RIG_TRIGGER), 1);
}

TEST_F(BitPortTest, AFailingWriteLeavesItsTextPending) {
    FailStatus("FT_Write", 1, kIoError);
    EXPECT_EQ(WriteBits(), kIoError);
    EXPECT_EQ(TakeJournal(), Entries("FT_Write(SLV1B, [82 00 4f]) -> 4")) << "and does not sleep";
    EXPECT_EQ(Pending(), "FT_Write failed with status:4");
}

TEST_F(BitPortTest, AShortWriteAlwaysReportsOneByteAndAnEmbeddedLineBreak) {
    for (const std::uint32_t written : {0u, 1u, 2u, 4u}) {
        logger.Install(nullptr, LogToJournal);
        FailCount("FT_Write", 1, written);
        EXPECT_EQ(WriteBits(), kOtherError);
        EXPECT_EQ(Pending(), "FT_Write failed to write 1 bytes.\n") << written;
        EXPECT_EQ(TakeJournal().back(), "Sleep(2)");
    }
}

TEST_F(BitPortTest, ASuccessThatLeavesTheCountUntouchedIsAShortWrite) {
    FailSilently("FT_Write", 1);
    EXPECT_EQ(WriteBits(), kOtherError);
    EXPECT_EQ(Pending(), "FT_Write failed to write 1 bytes.\n");
}

TEST_F(BitPortTest, WorksWithoutALogger) {
    s_highPort.logger = nullptr;
    s_lowPort.logger = nullptr;
    EXPECT_EQ(ReadBits(s_highPort), FT_OK);
    EXPECT_EQ(ReadBits(s_highPort), FT_OK);
    EXPECT_EQ(WriteBits(), FT_OK);
    FailStatus("FT_Write", 1, kIoError, 4);
    RestoreWith(false);
    EXPECT_EQ(WriteBits(), kIoError);
    EXPECT_EQ(GetBitsValue(s_lowPort, low::kDark), -1);
    EXPECT_FALSE(SetPin(high::kDark));
    EXPECT_FALSE(TogglePin(-1));
    EXPECT_THAT(TakeLog(), IsEmpty());
    EXPECT_EQ(Pending(), "");
}

// ---- GetBitsValue ----

TEST_F(BitPortTest, ABitIsOneOrZero) {
    EXPECT_EQ(GetBitsValue(s_highPort, high::kReady), 1);
    EXPECT_EQ(GetBitsValue(s_highPort, high::kDark), 0);
    rig_force(RIG_READY, 0);
    EXPECT_EQ(GetBitsValue(s_highPort, high::kReady), 0);
}

TEST_F(BitPortTest, TwoBitsAreOneOnlyTogether) {
    EXPECT_EQ(GetBitsValue(s_highPort, high::kReady | high::kNoMepFlag), 1);
    EXPECT_EQ(GetBitsValue(s_highPort, high::kReady | high::kDark), 0);
}

TEST_F(BitPortTest, AFailedReadIsRepairedOnceAndReadAgain) {
    RestoreWith(true);
    FailStatus("FT_Write", 1, kIoError);
    EXPECT_EQ(GetBitsValue(s_highPort, high::kReady), 1);
    EXPECT_EQ(TakeJournal(),
              (Entries("FT_Write(SLV1B, [83]) -> 4", Log("FT_Write failed with error: 4"),
                       Log("ReadBits status: 4"), "restore") +
               ReadHigh("f0") +
               Entries(Log(" >>> read bits:  High Byte (BC)" + kAtRest + " 0xf0"),
                       Log("ReadBits status (after restore): 0"))));
}

TEST_F(BitPortTest, ABitReadAfterTheRepairMayBeZero) {
    RestoreWith(true);
    FailStatus("FT_Write", 1, kIoError);
    EXPECT_EQ(GetBitsValue(s_lowPort, low::kDark), 0);
}

TEST_F(BitPortTest, AReadWhoseRepairFailsIsMinusOne) {
    RestoreWith(false);
    FailStatus("FT_Write", 1, kIoError);
    EXPECT_EQ(GetBitsValue(s_lowPort, low::kDark), -1);
    EXPECT_THAT(TakeJournal(),
                ElementsAre("FT_Write(SLV1B, [81]) -> 4", Log("FT_Write failed with error: 4"),
                            Log("ReadBits status: 4"), "restore",
                            Log("GetBitsValue: RestoreAvailability() failed")));
}

TEST_F(BitPortTest, AReadThatFailsAgainAfterTheRepairIsMinusOne) {
    RestoreWith(true);
    FailStatus("FT_Write", 1, kIoError, 2);
    EXPECT_EQ(GetBitsValue(s_highPort, high::kReady), -1);
    EXPECT_EQ(TakeLog(),
              (Entries("FT_Write failed with error: 4", "ReadBits status: 4",
                       "FT_Write failed with error: 4", "ReadBits status (after restore): 4")));
}

TEST_F(BitPortTest, AnUnsetRepairIsAProgrammingError) {
    FailStatus("FT_Write", 1, kIoError, 0);
    EXPECT_THROW(GetBitsValue(s_highPort, high::kReady), std::bad_function_call);
    EXPECT_THROW(SetPin(high::kDark), std::bad_function_call);
}

/// Configuring the chip installs a new callable in the port while the old one runs.
TEST_F(BitPortTest, TheRepairMayReplaceItselfWhileItRuns) {
    const auto text = std::make_shared<std::string>("kept alive by the callable alone");
    std::weak_ptr<std::string> watched = text;
    s_highPort.restore = [kept = text] {
        s_highPort.restore = [] { return true; };
        rig_note(kept->c_str());
        return true;
    };
    const_cast<std::shared_ptr<std::string>&>(text).reset();
    FailStatus("FT_Write", 1, kIoError);
    EXPECT_EQ(GetBitsValue(s_highPort, high::kReady), 1);
    EXPECT_THAT(TakeJournal(), testing::Contains("kept alive by the callable alone"));
    EXPECT_TRUE(watched.expired());
}

// ---- SetPin and TogglePin ----

TEST_F(BitPortTest, SettingABitKeepsTheOthers) {
    s_highPort.value = 0x50;
    EXPECT_TRUE(SetPin(high::kTrigger));
    EXPECT_EQ(TakeJournal(), WriteHigh("51", "CLR-mep-RDY-apw-cpw-drk-TRG-"));
}

TEST_F(BitPortTest, ClearingABitKeepsTheOthersAndIsNotRepaired) {
    RestoreWith(true);
    s_highPort.value = 0x53;
    EXPECT_TRUE(ClearPin(high::kDark));
    EXPECT_EQ(TakeJournal(), WriteHigh("51", "CLR-mep-RDY-apw-cpw-drk-TRG-"));
    FailStatus("FT_Write", 1, kIoError);
    EXPECT_FALSE(ClearPin(high::kTrigger));
    EXPECT_EQ(TakeJournal(), Entries("FT_Write(SLV1B, [82 50 4f]) -> 4"));
}

TEST_F(BitPortTest, AFailedSetIsRepairedOnceAndTheMaskIsNotAppliedAgain) {
    s_highPort.value = 0x50;
    s_highPort.restore = [] {
        rig_note("restore");
        s_highPort.value = 0x70; // what the pins read after the chip came back
        return true;
    };
    FailStatus("FT_Write", 1, kIoError);
    EXPECT_TRUE(SetPin(high::kTrigger));
    EXPECT_EQ(TakeJournal(),
              (Entries("FT_Write(SLV1B, [82 51 4f]) -> 4",
                       Log("FT_Write failed with status:4 SetPin(): writeBits failed with "
                           "status: 4"),
                       "restore") +
               WriteHigh("70", kAtRest) + Entries(Log(" WriteBits status (after restore): 0"))));
    EXPECT_EQ(rig_level(RIG_TRIGGER), 0);
}

TEST_F(BitPortTest, ASetWhoseRepairFailsIsFalse) {
    RestoreWith(false);
    FailStatus("FT_Write", 1, kIoError);
    EXPECT_FALSE(SetPin(high::kDark));
    EXPECT_THAT(TakeJournal(),
                ElementsAre("FT_Write(SLV1B, [82 02 4f]) -> 4",
                            Log("FT_Write failed with status:4 SetPin(): writeBits failed with "
                                "status: 4"),
                            "restore", Log(" SetPin: RestoreAvailability() failed")));
}

TEST_F(BitPortTest, ASetThatFailsAgainAfterTheRepairIsFalse) {
    RestoreWith(true);
    FailStatus("FT_Write", 1, kIoError, 2);
    EXPECT_FALSE(SetPin(high::kDark));
    EXPECT_EQ(TakeLog().back(),
              "FT_Write failed with status:4 WriteBits status (after restore): 4");
}

TEST_F(BitPortTest, ToggleClearsADarkLineThatIsOn) {
    s_highPort.value = 0x52;
    EXPECT_TRUE(TogglePin(1));
    EXPECT_EQ(TakeJournal(), WriteHigh("50", "CLR-mep-RDY-apw-cpw-drk-trg-"));
}

TEST_F(BitPortTest, ToggleSetsADarkLineThatIsOff) {
    s_highPort.value = 0x50;
    EXPECT_TRUE(TogglePin(0));
    EXPECT_EQ(TakeJournal(), WriteHigh("52", "CLR-mep-RDY-apw-cpw-DRK-trg-"));
}

TEST_F(BitPortTest, ToggleToOffIsNotRepairedAndToOnIs) {
    RestoreWith(true);
    FailStatus("FT_Write", 1, kIoError);
    EXPECT_FALSE(TogglePin(1));
    EXPECT_THAT(TakeJournal(), testing::Not(testing::Contains("restore")));
    FailStatus("FT_Write", 1, kIoError);
    EXPECT_TRUE(TogglePin(0));
    EXPECT_THAT(TakeJournal(), testing::Contains("restore"));
}

TEST_F(BitPortTest, ToggleOfAnUnknownStateWritesNothingAndLogsTheMaskAsARawByte) {
    for (const int state : {-1, 2, 3}) {
        EXPECT_FALSE(TogglePin(state));
        EXPECT_EQ(TakeJournal(), Entries(Log(" TogglePin: invalid state of bit \x02"))) << state;
    }
}

} // namespace
