#include "bench_rig.h"

namespace test {
namespace {

using PlugTest = BenchRig;

void ExpectStale(FT_HANDLE handle) {
    std::uint8_t byte = 0;
    std::uint32_t count = kUntouched;
    EXPECT_EQ(FT_Read(handle, &byte, 1, &count), kIoError);
    EXPECT_EQ(FT_Write(handle, &byte, 1, &count), kIoError);
    EXPECT_EQ(FT_GetQueueStatus(handle, &count), kIoError);
    EXPECT_EQ(FT_ResetDevice(handle), kIoError);
    EXPECT_EQ(FT_ResetPort(handle), kIoError);
    EXPECT_EQ(FT_SetBitMode(handle, 0, 0), kIoError);
    EXPECT_EQ(FT_SetChars(handle, 0, 0, 0, 0), kIoError);
    EXPECT_EQ(FT_SetFlowControl(handle, 0, 0, 0), kIoError);
    EXPECT_EQ(FT_SetLatencyTimer(handle, 1), kIoError);
    EXPECT_EQ(FT_SetTimeouts(handle, 0, 0), kIoError);
    EXPECT_EQ(FT_SetUSBParameters(handle, 64, 64), kIoError);
    EXPECT_EQ(count, kUntouched);
}

TEST_F(PlugTest, AnUnpluggedChipIsGone) {
    FT_HANDLE pins = OpenPins();
    Drive(pins, kRest | kDark);
    EXPECT_EQ(rig_unplug(0), 0);
    EXPECT_EQ(rig_level(RIG_DARK), 0) << "nobody drives it any more";
    EXPECT_TRUE(Devices().empty());
    ExpectStale(pins);
    EXPECT_EQ(FT_Close(pins), kIoError);
    EXPECT_EQ(FT_Close(pins), kInvalidHandle) << "closing released it all the same";
}

TEST_F(PlugTest, AHandleBelongsToTheDeviceThatLeft) {
    FT_HANDLE pins = OpenPins();
    Write(pins, {0x83});
    rig_unplug(0);
    EXPECT_EQ(rig_plug(0), 0);
    ASSERT_EQ(Devices().size(), 2U);
    EXPECT_EQ(Devices()[1].Flags, 2U) << "not open";
    ExpectStale(pins);
    FT_HANDLE again = Open(1);
    ASSERT_NE(again, nullptr);
    EXPECT_EQ(QueueLength(again), 0U);
    FT_SetLatencyTimer(again, 0);
    Write(again, {0x83});
    EXPECT_EQ(QueueLength(again), 0U) << "back as a UART";
    EXPECT_EQ(FT_Close(pins), kIoError);
    EXPECT_EQ(FT_Close(again), FT_OK);
}

TEST_F(PlugTest, AChipIsNamedAndOpensSomeTimeAfterEachPlug) {
    Load(kOneChip + "named_after_ms = 200\nopens_after_ms = 500\nreset_port_ms = 50\n");
    const auto expectThatItSettles = [](const char* when) {
        EXPECT_STREQ(Devices().at(0).SerialNumber, "") << when;
        EXPECT_STREQ(Devices().at(1).Description, "") << when;
        EXPECT_EQ(Devices().at(1).Type, 6U) << when;
        EXPECT_EQ(Devices().at(1).ID, 0x04036010U) << when;
        Advance(199);
        EXPECT_STREQ(Devices().at(1).SerialNumber, "") << when;
        Advance(1);
        EXPECT_STREQ(Devices().at(1).SerialNumber, "SLV1B") << when;
        EXPECT_STREQ(Devices().at(1).Description, "Dual RS232-HS B") << when;
        Advance(299);
        FT_HANDLE handle = nullptr;
        EXPECT_EQ(FT_Open(1, &handle), kDeviceNotOpened) << when;
        Advance(1);
        EXPECT_EQ(FT_Open(1, &handle), FT_OK) << when;
        return handle;
    };
    FT_HANDLE handle = Open(1);
    EXPECT_NE(handle, nullptr) << "it has been there for long";
    rig_unplug(0);
    rig_plug(0);
    EXPECT_EQ(FT_Close(handle), kIoError);
    handle = expectThatItSettles("plugged in again");
    EXPECT_EQ(FT_ResetPort(handle), FT_OK);
    Advance(50);
    expectThatItSettles("after a port reset");
}

TEST_F(PlugTest, AChipCanBePluggedInJustNow) {
    Load(kOneChip + "plugged = false\nnamed_after_ms = 20\n"
                    "[[event]]\nat_ms = 0\naction = 'plug'\n");
    EXPECT_STREQ(Devices().at(1).SerialNumber, "");
    Advance(20);
    EXPECT_STREQ(Devices().at(1).SerialNumber, "SLV1B");
}

TEST_F(PlugTest, OnlyTheChipThatLeavesIsConcerned) {
    Load(kOneChip + "[[usb]]\nchip = 'FT2232H'\nserial = 'SLV2'\n");
    FT_HANDLE first = Open(0);
    FT_HANDLE second = Open(2);
    rig_unplug(0);
    EXPECT_EQ(FT_ResetDevice(first), kIoError);
    EXPECT_EQ(FT_ResetDevice(second), FT_OK);
    ASSERT_EQ(Devices().size(), 2U);
    EXPECT_STREQ(Devices()[0].SerialNumber, "SLV2A");
}

TEST_F(PlugTest, KnowsItsChips) {
    EXPECT_EQ(rig_unplug(1), -1);
    EXPECT_EQ(rig_plug(1), -1);
    rig_journal_clear();
    EXPECT_EQ(rig_plug(0), 0) << "it is plugged already";
    EXPECT_EQ(rig_unplug(0), 0);
    EXPECT_EQ(rig_unplug(0), 0);
    EXPECT_EQ(rig_plug(0), 0);
    EXPECT_EQ(Take(RIG_EVENT), (Lines{"plug 0", "unplug 0", "unplug 0", "plug 0"}));
}

TEST_F(PlugTest, AChipCanBeMissingAtFirst) {
    Load(kOneChip + "plugged = false\n");
    EXPECT_TRUE(Devices().empty());
    rig_plug(0);
    EXPECT_EQ(Devices().size(), 2U);
}

TEST_F(PlugTest, APortResetTakesTheChipAwayForAWhile) {
    FT_HANDLE other = Open(0);
    FT_HANDLE pins = OpenPins();
    Drive(pins, kRest | kDark);
    EXPECT_EQ(FT_ResetPort(pins), FT_OK);
    EXPECT_EQ(rig_level(RIG_DARK), 0);
    EXPECT_TRUE(Devices().empty());
    ExpectStale(pins);
    EXPECT_EQ(FT_Close(pins), FT_OK) << "the host knows that it reset the port";
    EXPECT_EQ(FT_Close(other), kIoError);
    Advance(99);
    EXPECT_TRUE(Devices().empty());
    Advance(1);
    EXPECT_EQ(Devices().size(), 2U);
    EXPECT_EQ(FT_Close(pins), kInvalidHandle);
}

TEST_F(PlugTest, APortResetTakesAsLongAsTheScenarioSays) {
    Load(kOneChip + "reset_port_ms = 7\n");
    FT_ResetPort(Open(1));
    Advance(6);
    EXPECT_TRUE(Devices().empty());
    Advance(1);
    EXPECT_EQ(Devices().size(), 2U);

    Load(kOneChip + "reset_port_ms = -1\n");
    FT_ResetPort(Open(1));
    Advance(1'000'000'000);
    EXPECT_TRUE(Devices().empty()) << "it never comes back";
    rig_plug(0);
    EXPECT_EQ(Devices().size(), 2U) << "unless somebody helps";
}

TEST_F(PlugTest, AChipUnpluggedDuringAPortResetStaysAway) {
    FT_ResetPort(Open(1));
    rig_unplug(0);
    Advance(200);
    EXPECT_TRUE(Devices().empty());
}

TEST_F(PlugTest, AChipReplacedDuringAPortResetComesOnce) {
    FT_ResetPort(Open(1));
    rig_plug(0);
    FT_HANDLE pins = OpenPins();
    rig_journal_clear();
    Advance(200);
    EXPECT_EQ(HighByte(pins), 0xf0);
    EXPECT_TRUE(Take(RIG_EVENT).empty());
}

} // namespace
} // namespace test
