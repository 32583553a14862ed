#include "bench_rig.h"

namespace test {
namespace {

using FaultTest = BenchRig;

TEST_F(FaultTest, AStatusStandsInPlaceOfTheCall) {
    FT_HANDLE pins = OpenPins();
    ASSERT_EQ(AddFault("FT_Write", RIG_FAULT_STATUS, 4, 0), 0);
    rig_journal_clear();
    std::uint8_t bytes[] = {0x82, 0x02, 0x4f};
    std::uint32_t count = kUntouched;
    EXPECT_EQ(FT_Write(pins, bytes, 3, &count), kIoError);
    EXPECT_EQ(count, kUntouched);
    EXPECT_EQ(rig_level(RIG_DARK), 0);
    EXPECT_EQ(TakeAll(), (Lines{"fault FT_Write", "FT_Write(SLV1B, [82 02 4f]) -> 4"}));
}

TEST_F(FaultTest, ASilentCallDoesNothing) {
    FT_HANDLE pins = OpenPins();
    AddFault("*", RIG_FAULT_SILENT, 0, 0, rig_calls(nullptr) + 1, 0);
    rig_journal_clear();
    std::uint8_t bytes[] = {0x82, 0x02, 0x4f};
    std::uint32_t count = kUntouched;
    FT_HANDLE handle = nullptr;
    EXPECT_EQ(FT_Write(pins, bytes, 3, &count), FT_OK);
    EXPECT_EQ(FT_GetQueueStatus(pins, &count), FT_OK);
    EXPECT_EQ(FT_Open(0, &handle), FT_OK);
    EXPECT_EQ(count, kUntouched);
    EXPECT_EQ(handle, nullptr);
    EXPECT_EQ(rig_level(RIG_DARK), 0);
    EXPECT_EQ(Take(RIG_CALL), (Lines{"FT_Write(SLV1B, [82 02 4f]) -> 0",
                                     "FT_GetQueueStatus(SLV1B) -> 0", "FT_Open(0) -> 0"}));
}

TEST_F(FaultTest, AShortWriteTakesTheFirstBytes) {
    FT_HANDLE pins = OpenPins();
    AddFault("FT_Write", RIG_FAULT_COUNT, 0, 3);
    std::uint8_t bytes[] = {0x82, 0x42, 0x4f, 0x83};
    std::uint32_t count = kUntouched;
    EXPECT_EQ(FT_Write(pins, bytes, 4, &count), FT_OK);
    EXPECT_EQ(count, 3U);
    EXPECT_EQ(rig_level(RIG_DARK), 1);
    EXPECT_EQ(QueueLength(pins), 0U);
}

TEST_F(FaultTest, AWriteCanClaimTooMuch) {
    FT_HANDLE pins = OpenPins();
    AddFault("FT_Write", RIG_FAULT_COUNT, 0, 9);
    std::uint8_t bytes[] = {0x83};
    std::uint32_t count = kUntouched;
    EXPECT_EQ(FT_Write(pins, bytes, 1, &count), FT_OK);
    EXPECT_EQ(count, 9U);
    EXPECT_EQ(QueueLength(pins), 1U);
}

TEST_F(FaultTest, AShortReadLeavesTheRest) {
    FT_HANDLE pins = OpenPins();
    AddFault("FT_Read", RIG_FAULT_COUNT, 0, 1);
    Write(pins, {0xaa});
    std::uint8_t bytes[2] = {0, 0};
    std::uint32_t count = kUntouched;
    EXPECT_EQ(FT_Read(pins, bytes, 2, &count), FT_OK);
    EXPECT_EQ(count, 1U);
    EXPECT_EQ(bytes[0], 0xfa);
    EXPECT_EQ(bytes[1], 0);
    EXPECT_EQ(Read(pins, 1), Bytes{0xaa});

    AddFault("FT_Read", RIG_FAULT_COUNT, 0, 100, rig_calls("FT_Read") + 1);
    Write(pins, {0xaa});
    EXPECT_EQ(Read(pins, 1), Bytes{0xfa}) << "never more than was asked for";
}

TEST_F(FaultTest, CountsCanLie) {
    FT_HANDLE pins = OpenPins();
    AddFault("FT_GetQueueStatus", RIG_FAULT_COUNT, 0, 7);
    AddFault("FT_CreateDeviceInfoList", RIG_FAULT_COUNT, 0, 5);
    EXPECT_EQ(QueueLength(pins), 7U);
    EXPECT_EQ(QueueLength(pins), 0U);
    std::uint32_t count = 0;
    EXPECT_EQ(FT_CreateDeviceInfoList(&count), FT_OK);
    EXPECT_EQ(count, 5U);

    FT_DEVICE_LIST_INFO_NODE nodes[5];
    nodes[2].Type = kUntouched;
    AddFault("FT_GetDeviceInfoList", RIG_FAULT_COUNT, 0, 9);
    EXPECT_EQ(FT_GetDeviceInfoList(nodes, &count), FT_OK);
    EXPECT_EQ(count, 9U);
    EXPECT_STREQ(nodes[1].SerialNumber, "SLV1B");
    EXPECT_EQ(nodes[2].Type, kUntouched);
}

TEST_F(FaultTest, ACountCanComeWithAStatus) {
    FT_HANDLE pins = OpenPins();
    AddFault("FT_Write", RIG_FAULT_COUNT | RIG_FAULT_STATUS, 18, 3);
    std::uint8_t bytes[] = {0x82, 0x42, 0x4f, 0x83};
    std::uint32_t count = kUntouched;
    EXPECT_EQ(FT_Write(pins, bytes, 4, &count), FT_OTHER_ERROR);
    EXPECT_EQ(count, 3U);
    EXPECT_EQ(rig_level(RIG_DARK), 1);
}

TEST_F(FaultTest, ACountMeansNothingToACallWithoutOne) {
    AddFault("FT_Open", RIG_FAULT_COUNT, 0, 3);
    EXPECT_NE(Open(0), nullptr);
    AddFault("FT_Open", RIG_FAULT_COUNT | RIG_FAULT_STATUS, 18, 3, 2);
    FT_HANDLE handle = nullptr;
    EXPECT_EQ(FT_Open(1, &handle), FT_OTHER_ERROR);
    EXPECT_NE(handle, nullptr);
}

TEST_F(FaultTest, BeginsAndEndsWhereItShould) {
    FT_HANDLE pins = OpenPins();
    AddFault("FT_ResetDevice", RIG_FAULT_STATUS, 4, 0, 3, 2);
    std::vector<FT_STATUS> statuses;
    for (int i = 0; i < 6; ++i) {
        statuses.push_back(FT_ResetDevice(pins));
    }
    EXPECT_EQ(statuses, (std::vector<FT_STATUS>{0, 0, 4, 4, 0, 0}));

    AddFault("FT_ResetDevice", RIG_FAULT_STATUS, 5, 0, 8, 0);
    EXPECT_EQ(FT_ResetDevice(pins), FT_OK);
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(FT_ResetDevice(pins), 5U);
    }
    rig_clear_faults();
    EXPECT_EQ(FT_ResetDevice(pins), FT_OK);
}

TEST_F(FaultTest, AnyCallCanBeMeant) {
    FT_HANDLE pins = OpenPins();
    AddFault("*", RIG_FAULT_STATUS, 4, 0, rig_calls("*") + 2);
    EXPECT_EQ(FT_ResetDevice(pins), FT_OK);
    EXPECT_EQ(FT_SetChars(pins, 0, 0, 0, 0), kIoError);
    EXPECT_EQ(FT_ResetDevice(pins), FT_OK);
}

TEST_F(FaultTest, TheFirstOneCounts) {
    AddFault("*", RIG_FAULT_STATUS, 4, 0);
    AddFault("FT_Open", RIG_FAULT_STATUS, 5, 0);
    FT_HANDLE handle = nullptr;
    EXPECT_EQ(FT_Open(0, &handle), kIoError);
}

TEST_F(FaultTest, RefusesWhatMakesNoSense) {
    EXPECT_EQ(AddFault("FT_Nothing", RIG_FAULT_STATUS, 4, 0), -1);
    EXPECT_EQ(AddFault("", RIG_FAULT_STATUS, 4, 0), -1);
    EXPECT_EQ(AddFault(nullptr, RIG_FAULT_STATUS, 4, 0), -1);
    EXPECT_EQ(AddFault("FT_Open", 0, 4, 0), -1);
    EXPECT_EQ(AddFault("FT_Open", 8, 4, 0), -1);
    EXPECT_EQ(AddFault("FT_Open", RIG_FAULT_SILENT | RIG_FAULT_COUNT, 4, 0), -1);
    EXPECT_EQ(AddFault("FT_Open", RIG_FAULT_STATUS, 4, 0, 0), -1);
    EXPECT_EQ(rig_add_fault(nullptr), -1);
    EXPECT_NE(Open(0), nullptr);
}

TEST_F(FaultTest, AScenarioBeginsWithItsOwnFaultsAndCounts) {
    AddFault("FT_Open", RIG_FAULT_STATUS, 4, 0, 1, 0);
    Load(kOneChip +
         "[[fault]]\nfunction = 'FT_Open'\ncall = 2\ntimes = 1\nstatus = 3\n"
         "[[fault]]\nfunction = 'FT_Close'\nsilent = true\n"
         "[[fault]]\nfunction = 'FT_GetQueueStatus'\ntimes = 0\ncount = 4\nstatus = 0\n");
    EXPECT_EQ(rig_calls("FT_Open"), 0U);
    FT_HANDLE handle = Open(0);
    EXPECT_NE(handle, nullptr);
    FT_HANDLE second = nullptr;
    EXPECT_EQ(FT_Open(1, &second), kDeviceNotOpened);
    EXPECT_EQ(FT_Close(handle), FT_OK);
    EXPECT_EQ(FT_Close(handle), FT_OK) << "the first close did nothing";
    handle = Open(0);
    EXPECT_EQ(QueueLength(handle), 4U);
    EXPECT_EQ(QueueLength(handle), 4U);
}

} // namespace
} // namespace test
