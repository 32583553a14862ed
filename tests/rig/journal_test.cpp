#include "bench_rig.h"

namespace test {
namespace {

using JournalTest = BenchRig;

TEST_F(JournalTest, WritesEveryCallInItsOwnForm) {
    Devices();
    FT_HANDLE handle = nullptr;
    FT_Open(1, &handle);
    FT_ResetDevice(handle);
    FT_SetFlowControl(handle, FT_FLOW_RTS_CTS, 0, 0);
    FT_SetChars(handle, 0, 0, 0, 0);
    FT_SetTimeouts(handle, 0, 5000);
    FT_SetLatencyTimer(handle, 1);
    FT_SetBitMode(handle, 0, 2);
    FT_SetUSBParameters(handle, 64, 64);
    Write(handle, {0x82, 0x40, 0x4f});
    Write(handle, {0x83});
    Advance(1);
    QueueLength(handle);
    Read(handle, 1);
    FT_ResetPort(handle);
    FT_Close(handle);
    EXPECT_EQ(Take(RIG_CALL), (Lines{
                                  "FT_CreateDeviceInfoList() -> 0, 2",
                                  "FT_GetDeviceInfoList(2) -> 0, 2",
                                  "FT_Open(1) -> 0",
                                  "FT_ResetDevice(SLV1B) -> 0",
                                  "FT_SetFlowControl(SLV1B, 0x0100, 0, 0) -> 0",
                                  "FT_SetChars(SLV1B, 0, 0, 0, 0) -> 0",
                                  "FT_SetTimeouts(SLV1B, 0, 5000) -> 0",
                                  "FT_SetLatencyTimer(SLV1B, 1) -> 0",
                                  "FT_SetBitMode(SLV1B, 0, 2) -> 0",
                                  "FT_SetUSBParameters(SLV1B, 64, 64) -> 0",
                                  "FT_Write(SLV1B, [82 40 4f]) -> 0, 3",
                                  "FT_Write(SLV1B, [83]) -> 0, 1",
                                  "FT_GetQueueStatus(SLV1B) -> 0, 1",
                                  "FT_Read(SLV1B, 1) -> 0, [f0]",
                                  "FT_ResetPort(SLV1B) -> 0",
                                  "FT_Close(SLV1B) -> 0",
                              }));
}

TEST_F(JournalTest, LeavesOutWhatWasNotWritten) {
    FT_HANDLE pins = OpenPins();
    rig_unplug(0);
    rig_journal_clear();
    std::uint8_t byte = 0x83;
    std::uint32_t count = 0;
    FT_Write(pins, &byte, 1, &count);
    FT_Write(pins, nullptr, 1, &count);
    FT_Read(pins, &byte, 1, &count);
    FT_GetQueueStatus(pins, &count);
    FT_CreateDeviceInfoList(nullptr);
    FT_GetDeviceInfoList(nullptr, nullptr);
    FT_Open(-1, &pins);
    FT_Close(nullptr);
    EXPECT_EQ(TakeAll(), (Lines{"FT_Write(SLV1B, [83]) -> 4", "FT_Write(SLV1B, []) -> 4",
                                "FT_Read(SLV1B, 1) -> 4", "FT_GetQueueStatus(SLV1B) -> 4",
                                "FT_CreateDeviceInfoList() -> 6", "FT_GetDeviceInfoList(0) -> 6",
                                "FT_Open(-1) -> 2", "FT_Close(?) -> 1"}));
}

TEST_F(JournalTest, ShortensLongLists) {
    FT_HANDLE handle = Open(0);
    rig_journal_clear();
    Write(handle, Bytes(16, 0x0f));
    Write(handle, Bytes(17, 0xf0));
    Read(handle, 0);
    EXPECT_EQ(Take(RIG_CALL),
              (Lines{"FT_Write(SLV1A, [0f 0f 0f 0f 0f 0f 0f 0f 0f 0f 0f 0f 0f 0f 0f 0f]) -> 0, 16",
                     "FT_Write(SLV1A, [f0 f0 f0 f0 f0 f0 f0 f0 f0 f0 f0 f0 f0 f0 f0 f0 ...]) "
                     "-> 0, 17",
                     "FT_Read(SLV1A, 0) -> 0, []"}));
}

TEST_F(JournalTest, PutsEdgesBeforeTheirCall) {
    FT_HANDLE pins = OpenPins();
    Drive(pins, kRest);
    rig_journal_clear();
    Drive(pins, kRest | kDark | kAccessoriesOff);
    EXPECT_EQ(TakeAll(),
              (Lines{"dark 1", "accessories_power 0", "FT_Write(SLV1B, [82 4a 4f]) -> 0, 3"}));
}

TEST_F(JournalTest, KnowsTimesAndKinds) {
    rig_journal_clear();
    Advance(3);
    rig_note("hello");
    Advance(4);
    rig_unplug(0);
    ASSERT_EQ(rig_journal_size(), 2U);
    rig_entry first{};
    ASSERT_EQ(rig_journal_entry(0, &first), 0);
    EXPECT_EQ(first.time, 3'000'000U);
    EXPECT_EQ(first.kind, RIG_NOTE);
    EXPECT_STREQ(first.text, "hello");
    rig_entry second{};
    ASSERT_EQ(rig_journal_entry(1, &second), 0);
    EXPECT_EQ(second.time, 7'000'000U);
    EXPECT_EQ(second.kind, RIG_EVENT);
    EXPECT_STREQ(second.text, "unplug 0");
    EXPECT_EQ(rig_journal_entry(2, &second), -1);
    EXPECT_EQ(rig_journal_entry(0, nullptr), -1);
}

TEST_F(JournalTest, ACallIsWrittenWhenItReturns) {
    FT_HANDLE pins = OpenPins();
    FT_SetTimeouts(pins, 30, 0);
    rig_journal_clear();
    Read(pins, 1);
    rig_entry entry{};
    ASSERT_EQ(rig_journal_entry(0, &entry), 0);
    EXPECT_EQ(entry.time, 30'000'000U);
}

TEST_F(JournalTest, ClearingForgetsEntriesNotCounts) {
    Open(0);
    rig_journal_clear();
    EXPECT_EQ(rig_journal_size(), 0U);
    EXPECT_EQ(rig_calls("FT_Open"), 1U);
}

TEST_F(JournalTest, StartsAfreshWithAScenario) {
    Advance(10);
    Open(0);
    Load(kOneChip);
    EXPECT_EQ(rig_journal_size(), 0U);
    EXPECT_EQ(rig_time(), 0U);
    Advance(2);
    EXPECT_EQ(rig_time(), 2'000'000U);
}

TEST_F(JournalTest, KeepsTheLastEntries) {
    constexpr std::size_t kept = 65'536;
    for (std::size_t i = 0; i < kept + 10; ++i) {
        rig_note(std::to_string(i).c_str());
    }
    EXPECT_EQ(rig_journal_size(), kept);
    rig_entry entry{};
    ASSERT_EQ(rig_journal_entry(0, &entry), 0);
    EXPECT_STREQ(entry.text, "10");
    ASSERT_EQ(rig_journal_entry(kept - 1, &entry), 0);
    EXPECT_STREQ(entry.text, "65545");
}

TEST_F(JournalTest, ANullNoteIsAnEmptyOne) {
    rig_journal_clear();
    rig_note(nullptr);
    EXPECT_EQ(Take(RIG_NOTE), Lines{""});
}

} // namespace
} // namespace test
