/// The bit ports beyond the library's own use of them, which tests/transcripts/usb has.

#include "bit_port.h"

#include <memory>

#include "on_the_rig.h"
#include "solvane_usb.h"

namespace {

using namespace SLV::Internal;
using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr FT_STATUS kIoError = 4;

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
};

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

TEST_F(BitPortTest, BitSevenOfTheHighByteAndBitsZeroToFourOfTheLowByteAreNotUsed) {
    EXPECT_EQ(DescribeHighByte(0x80).View(), "High Byte (BC)clr-mep-rdy-apw-cpw-drk-trg-");
    EXPECT_EQ(DescribeLowByte(0x1F).View(), "Low Byte (BD): apw-cpw-drk-");
}

TEST_F(BitPortTest, TwoBitsAreOneOnlyTogether) {
    EXPECT_EQ(GetBitsValue(s_highPort, high::kReady | high::kNoMepFlag), 1);
    EXPECT_EQ(GetBitsValue(s_highPort, high::kReady | high::kDark), 0);
}

TEST_F(BitPortTest, AByteThatCannotBeReadAfterARecoveryEitherIsMinusOne) {
    s_highPort.restore = [] { return true; };
    FailStatus("FT_Write", 1, kIoError, 2);
    EXPECT_EQ(GetBitsValue(s_highPort, high::kReady), -1);
}

TEST_F(BitPortTest, WorksWithoutALogger) {
    s_highPort.logger = nullptr;
    s_lowPort.logger = nullptr;
    EXPECT_EQ(ReadBits(s_highPort), FT_OK);
    EXPECT_EQ(ReadBits(s_highPort), FT_OK);
    EXPECT_EQ(WriteBits(), FT_OK);
    FailStatus("FT_Write", 1, kIoError, 4);
    s_highPort.restore = s_lowPort.restore = [] { return false; };
    EXPECT_EQ(WriteBits(), kIoError);
    EXPECT_EQ(GetBitsValue(s_lowPort, low::kDark), -1);
    EXPECT_FALSE(SetPin(high::kDark));
    EXPECT_FALSE(TogglePin(-1));
    EXPECT_THAT(TakeLog(), IsEmpty());
}

TEST_F(BitPortTest, AnUnsetRestoreIsAProgrammingError) {
    FailStatus("FT_Write", 1, kIoError, 0);
    EXPECT_THROW(GetBitsValue(s_highPort, high::kReady), std::bad_function_call);
    EXPECT_THROW(SetPin(high::kDark), std::bad_function_call);
}

/// Configuring the chip replaces port.restore while it runs.
TEST_F(BitPortTest, RestoreMayReplaceItselfWhileItRuns) {
    auto text = std::make_shared<std::string>("kept alive by the callable alone");
    const std::weak_ptr<std::string> watched = text;
    s_highPort.restore = [kept = std::move(text)] {
        s_highPort.restore = [] { return true; };
        rig_note(kept->c_str());
        return true;
    };
    FailStatus("FT_Write", 1, kIoError);
    EXPECT_EQ(GetBitsValue(s_highPort, high::kReady), 1);
    EXPECT_THAT(TakeJournal(), testing::Contains("kept alive by the callable alone"));
    EXPECT_TRUE(watched.expired());
}

TEST_F(BitPortTest, ToggleOfAnUnknownStateWritesNothing) {
    for (const int state : {-1, 2, 3}) {
        EXPECT_FALSE(TogglePin(state));
        EXPECT_THAT(TakeJournal(), ElementsAre("log:  TogglePin: invalid state of bit \x02"))
            << state;
    }
}

/// The host's log function may look at the flag meanwhile.
TEST_F(BitPortTest, AFlagIsZeroUntilItsPulseHasBeenGiven) {
    static std::vector<short> seen;
    seen.clear();
    Load(std::string(kUsbCamera) + "[camera]\nmep_latched = true\n");
    s_ft_handle = nullptr;
    SolvaneUsb usb(logger);
    EXPECT_EQ(usb.CheckAvailable(), 0);
    short flag = 55;
    logger.Install(
        &flag, [](void* place, const char*) { seen.push_back(*static_cast<const short*>(place)); });
    EXPECT_EQ(usb.CheckAndResetMepFlag(&flag), 0);
    EXPECT_EQ(flag, 1);
    EXPECT_THAT(seen, ElementsAre(0, 0)) << "at the two lines of the pulse";
    logger.Install(nullptr, LogToJournal);
}

} // namespace
