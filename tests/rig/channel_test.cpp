#include "bench_rig.h"

namespace test {
namespace {

using ChannelTest = BenchRig;

TEST_F(ChannelTest, StartsAsAUartThatSwallowsBytes) {
    FT_HANDLE handle = Open(1);
    FT_SetLatencyTimer(handle, 0);
    rig_journal_clear();
    std::uint8_t bytes[] = {0x82, 0x41, 0x4f, 0x83, 0xaa};
    std::uint32_t written = 0;
    EXPECT_EQ(FT_Write(handle, bytes, sizeof bytes, &written), FT_OK);
    EXPECT_EQ(written, sizeof bytes);
    EXPECT_EQ(QueueLength(handle), 0U);
    EXPECT_TRUE(Take(RIG_EDGE).empty());
}

TEST_F(ChannelTest, KnowsItsBitModes) {
    FT_HANDLE handle = Open(1);
    EXPECT_EQ(FT_SetBitMode(handle, 0, FT_BITMODE_MPSSE), FT_OK);
    EXPECT_EQ(FT_SetBitMode(handle, 0xff, FT_BITMODE_RESET), FT_OK);
    EXPECT_EQ(FT_SetBitMode(handle, 0, 1), FT_OTHER_ERROR);
    EXPECT_EQ(FT_SetBitMode(Open(0), 0, FT_BITMODE_MPSSE), FT_OK);

    Load("[[usb]]\nchip = 'FT232R'\n");
    handle = Open(0);
    EXPECT_EQ(FT_SetBitMode(handle, 0, FT_BITMODE_MPSSE), FT_OTHER_ERROR);
    EXPECT_EQ(FT_SetBitMode(handle, 0, FT_BITMODE_RESET), FT_OK);
}

TEST_F(ChannelTest, ARefusedBitModeChangesNothing) {
    FT_HANDLE pins = OpenPins();
    Drive(pins, kRest | kDark);
    EXPECT_EQ(FT_SetBitMode(pins, 0, 1), FT_OTHER_ERROR);
    EXPECT_EQ(rig_level(RIG_DARK), 1);
    Drive(pins, kRest);
    EXPECT_EQ(rig_level(RIG_DARK), 0) << "still in MPSSE mode";
}

TEST_F(ChannelTest, WaitsForTheRestOfACommand) {
    FT_HANDLE pins = OpenPins();
    Write(pins, {0x82});
    Write(pins, {kRest | kDark});
    EXPECT_EQ(rig_level(RIG_DARK), 0);
    Write(pins, {kOutputs, 0x81});
    EXPECT_EQ(rig_level(RIG_DARK), 1);
    EXPECT_EQ(Read(pins, 1), Bytes{0x9f});
}

TEST_F(ChannelTest, ForgetsHalfACommandWithItsMode) {
    FT_HANDLE pins = OpenPins();
    Write(pins, {0x82, kRest | kDark});
    FT_SetBitMode(pins, 0, FT_BITMODE_MPSSE);
    Write(pins, {0x83});
    EXPECT_EQ(Read(pins, 1), Bytes{0xf0});
}

TEST_F(ChannelTest, AnswersBadCommands) {
    FT_HANDLE pins = OpenPins();
    Write(pins, {0xaa, 0x83, 0xab});
    EXPECT_EQ(QueueLength(pins), 5U);
    EXPECT_EQ(Read(pins, 5), (Bytes{0xfa, 0xaa, 0xf0, 0xfa, 0xab}));
}

TEST_F(ChannelTest, LetsGoOfItsOutputsWithItsMode) {
    FT_HANDLE pins = OpenPins();
    Drive(pins, kDark | kCameraOff);
    EXPECT_EQ(rig_level(RIG_CLEAR_MEP), 1);
    FT_SetBitMode(pins, 0, FT_BITMODE_RESET);
    EXPECT_EQ(rig_level(RIG_DARK), 0);
    EXPECT_EQ(rig_level(RIG_CAMERA_POWER), 1);
    EXPECT_EQ(rig_level(RIG_CLEAR_MEP), 0);
    FT_SetBitMode(pins, 0, FT_BITMODE_MPSSE);
    EXPECT_EQ(HighByte(pins) & kDark, 0) << "nothing is driven until the host says so";
}

TEST_F(ChannelTest, KeepsModeAndOutputsWhenClosed) {
    FT_HANDLE pins = OpenPins();
    Drive(pins, kRest | kDark);
    EXPECT_EQ(FT_Close(pins), FT_OK);
    EXPECT_EQ(rig_level(RIG_DARK), 1);
    pins = Open(1);
    EXPECT_EQ(HighByte(pins) & kDark, kDark) << "still in MPSSE mode";
}

TEST_F(ChannelTest, ResetDeviceClearsTheQueueOnly) {
    FT_HANDLE pins = OpenPins();
    Drive(pins, kRest | kDark);
    Write(pins, {0x83});
    EXPECT_EQ(QueueLength(pins), 1U);
    EXPECT_EQ(FT_ResetDevice(pins), FT_OK);
    EXPECT_EQ(QueueLength(pins), 0U);
    EXPECT_EQ(rig_level(RIG_DARK), 1);
    EXPECT_EQ(LowByte(pins), 0x9f) << "still in MPSSE mode";
}

TEST_F(ChannelTest, RefusesUnknownHandles) {
    FT_HANDLE closed = Open(1);
    FT_Close(closed);
    for (FT_HANDLE handle : {closed, FT_HANDLE{nullptr}, FT_HANDLE{&closed}}) {
        std::uint8_t byte = 0;
        std::uint32_t count = kUntouched;
        EXPECT_EQ(FT_Close(handle), kInvalidHandle);
        EXPECT_EQ(FT_Read(handle, &byte, 1, &count), kInvalidHandle);
        EXPECT_EQ(FT_Write(handle, &byte, 1, &count), kInvalidHandle);
        EXPECT_EQ(FT_GetQueueStatus(handle, &count), kInvalidHandle);
        EXPECT_EQ(FT_ResetDevice(handle), kInvalidHandle);
        EXPECT_EQ(FT_ResetPort(handle), kInvalidHandle);
        EXPECT_EQ(FT_SetBitMode(handle, 0, 0), kInvalidHandle);
        EXPECT_EQ(FT_SetChars(handle, 0, 0, 0, 0), kInvalidHandle);
        EXPECT_EQ(FT_SetFlowControl(handle, 0, 0, 0), kInvalidHandle);
        EXPECT_EQ(FT_SetLatencyTimer(handle, 1), kInvalidHandle);
        EXPECT_EQ(FT_SetTimeouts(handle, 0, 0), kInvalidHandle);
        EXPECT_EQ(FT_SetUSBParameters(handle, 64, 64), kInvalidHandle);
        EXPECT_EQ(count, kUntouched);
    }
}

TEST_F(ChannelTest, RefusesNullPointers) {
    FT_HANDLE pins = OpenPins();
    std::uint8_t byte = 0x83;
    std::uint32_t count = kUntouched;
    EXPECT_EQ(FT_Write(pins, nullptr, 1, &count), kInvalidParameter);
    EXPECT_EQ(FT_Write(pins, &byte, 1, nullptr), kInvalidParameter);
    EXPECT_EQ(FT_Read(pins, nullptr, 1, &count), kInvalidParameter);
    EXPECT_EQ(FT_Read(pins, &byte, 1, nullptr), kInvalidParameter);
    EXPECT_EQ(FT_GetQueueStatus(pins, nullptr), kInvalidParameter);
    EXPECT_EQ(count, kUntouched);
    EXPECT_EQ(QueueLength(pins), 0U) << "nothing was written";
}

TEST_F(ChannelTest, AcceptsWhatHasNoEffectOnTheLines) {
    FT_HANDLE pins = OpenPins();
    rig_journal_clear();
    EXPECT_EQ(FT_SetFlowControl(pins, FT_FLOW_RTS_CTS, 0, 0), FT_OK);
    EXPECT_EQ(FT_SetChars(pins, 1, 1, 1, 1), FT_OK);
    EXPECT_EQ(FT_SetUSBParameters(pins, 64, 64), FT_OK);
    EXPECT_TRUE(Take(RIG_EDGE).empty());
}

} // namespace
} // namespace test
