#include "bench_rig.h"

namespace test {
namespace {

using ReadTest = BenchRig;

TEST_F(ReadTest, AnswersBecomeVisibleAfterTheLatency) {
    FT_HANDLE pins = Open(1);
    FT_SetBitMode(pins, 0, FT_BITMODE_MPSSE);
    Write(pins, {0x83});
    Advance(15);
    EXPECT_EQ(QueueLength(pins), 0U) << "16 ms unless the host sets something else";
    Advance(1);
    EXPECT_EQ(QueueLength(pins), 1U);

    FT_SetLatencyTimer(pins, 2);
    Write(pins, {0x83});
    Advance(1);
    EXPECT_EQ(QueueLength(pins), 1U);
    Advance(1);
    EXPECT_EQ(QueueLength(pins), 2U);
}

TEST_F(ReadTest, NoByteOvertakesAnother) {
    FT_HANDLE pins = Open(1);
    FT_SetBitMode(pins, 0, FT_BITMODE_MPSSE);
    Write(pins, {0xaa});
    FT_SetLatencyTimer(pins, 1);
    Write(pins, {0x83});
    Advance(2);
    EXPECT_EQ(QueueLength(pins), 0U);
    Advance(14);
    EXPECT_EQ(Read(pins, 3), (Bytes{0xfa, 0xaa, 0xf0}));
}

TEST_F(ReadTest, WaitsForPendingBytes) {
    FT_HANDLE pins = Open(1);
    FT_SetBitMode(pins, 0, FT_BITMODE_MPSSE);
    Write(pins, {0x83});
    const auto before = Milliseconds();
    EXPECT_EQ(Read(pins, 1), Bytes{0xf0});
    EXPECT_EQ(Milliseconds() - before, 16U);
    EXPECT_EQ(QueueLength(pins), 0U) << "read bytes are gone";
}

TEST_F(ReadTest, LeavesWhatItWasNotAskedFor) {
    FT_HANDLE pins = OpenPins();
    Write(pins, {0xaa});
    EXPECT_EQ(Read(pins, 1), Bytes{0xfa});
    EXPECT_EQ(Read(pins, 0), Bytes{});
    EXPECT_EQ(Read(pins, 1), Bytes{0xaa});
}

TEST_F(ReadTest, GivesUpAtItsTimeout) {
    FT_HANDLE pins = OpenPins();
    FT_SetTimeouts(pins, 30, 0);
    Write(pins, {0x83});
    const auto before = Milliseconds();
    EXPECT_EQ(Read(pins, 2), Bytes{0xf0});
    EXPECT_EQ(Milliseconds() - before, 30U);
}

TEST_F(ReadTest, TimesOutBeforeALongLatencyEnds) {
    FT_HANDLE pins = OpenPins();
    FT_SetTimeouts(pins, 30, 0);
    FT_SetLatencyTimer(pins, 200);
    Write(pins, {0x83});
    EXPECT_EQ(Read(pins, 1), Bytes{});
    EXPECT_EQ(Read(pins, 1), Bytes{});
    EXPECT_EQ(Milliseconds(), 60U);
}

TEST_F(ReadTest, NeverHangs) {
    FT_HANDLE pins = Open(1);
    FT_SetBitMode(pins, 0, FT_BITMODE_MPSSE);
    Write(pins, {0x83});
    EXPECT_EQ(Read(pins, 2), Bytes{0xf0}) << "what can come still comes";
    EXPECT_EQ(Milliseconds(), 16U);
    EXPECT_EQ(Take(RIG_EVENT), Lines{"read would block for ever"});
}

TEST_F(ReadTest, ANewHandleStartsAfresh) {
    FT_HANDLE pins = OpenPins();
    FT_SetTimeouts(pins, 30, 0);
    Write(pins, {0x83});
    FT_Close(pins);
    pins = Open(1);
    EXPECT_EQ(QueueLength(pins), 0U) << "the old queue is gone";
    EXPECT_EQ(Read(pins, 1), Bytes{});
    EXPECT_EQ(Milliseconds(), 0U) << "and so is the time-out";
    Write(pins, {0x83});
    EXPECT_EQ(QueueLength(pins), 0U) << "and the latency";
}

TEST_F(ReadTest, NoticesThatTheChipLeaves) {
    Load(kOneChip + "[[event]]\nat_ms = 10\naction = 'unplug'\n");
    FT_HANDLE pins = OpenPins();
    FT_SetTimeouts(pins, 1000, 0);
    std::uint8_t byte = 0;
    std::uint32_t count = kUntouched;
    EXPECT_EQ(FT_Read(pins, &byte, 1, &count), kIoError);
    EXPECT_EQ(count, kUntouched);
    EXPECT_EQ(Milliseconds(), 10U);
}

} // namespace
} // namespace test
