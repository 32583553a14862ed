#include "bench_rig.h"
#include "inpout.h"

namespace test {
namespace {

using EventTest = BenchRig;

TEST_F(EventTest, HappensAtItsMoment) {
    Load(kOneChip + "[[event]]\nat_ms = 20\naction = 'plug'\n"
                    "[[event]]\nat_ms = 10\naction = 'unplug'\nchip = 0\n");
    Advance(9);
    EXPECT_EQ(Devices().size(), 2U);
    Advance(1);
    EXPECT_EQ(Devices().size(), 0U);
    Advance(10);
    EXPECT_EQ(Devices().size(), 2U);
    EXPECT_EQ(Take(RIG_EVENT), (Lines{"unplug 0", "plug 0"}));
}

TEST_F(EventTest, HappensJustBeforeACall) {
    Load(kOneChip + "[[event]]\nbefore = 'FT_Write'\ncall = 2\naction = 'unplug'\n");
    FT_HANDLE pins = OpenPins();
    EXPECT_EQ(Write(pins, {0x83}), FT_OK);
    EXPECT_EQ(FT_ResetDevice(pins), FT_OK);
    rig_journal_clear();
    EXPECT_EQ(Write(pins, {0x83}), kIoError);
    EXPECT_EQ(TakeAll(), (Lines{"unplug 0", "FT_Write(SLV1B, [83]) -> 4"}));
    rig_plug(0);
    EXPECT_EQ(Write(OpenPins(), {0x83}), FT_OK) << "only once";
}

TEST_F(EventTest, HappensBeforeAnyCall) {
    Load(kOneChip + "[[event]]\nbefore = '*'\ncall = 3\naction = 'latch-mep'\n");
    FT_HANDLE handle = Open(0);
    FT_ResetDevice(handle);
    EXPECT_EQ(rig_level(RIG_MEP), 0);
    FT_ResetDevice(handle);
    EXPECT_EQ(rig_level(RIG_MEP), 1);
}

TEST_F(EventTest, MovesTheCamera) {
    Load(kOneChip + "[camera]\nasleep = true\n"
                    "[[event]]\nat_ms = 5\naction = 'ready'\n"
                    "[[event]]\nat_ms = 10\naction = 'not-ready'\n"
                    "[[event]]\nat_ms = 15\naction = 'latch-mep'\n"
                    "[[event]]\nat_ms = 20\naction = 'ready'\n");
    EXPECT_EQ(rig_level(RIG_READY), 0);
    Advance(5);
    EXPECT_EQ(rig_level(RIG_READY), 1);
    Advance(5);
    EXPECT_EQ(rig_level(RIG_READY), 0);
    EXPECT_EQ(rig_level(RIG_MEP), 0);
    Advance(5);
    EXPECT_EQ(rig_level(RIG_MEP), 1);
    Advance(5);
    EXPECT_EQ(rig_level(RIG_READY), 1);
    EXPECT_EQ(TakeAll(), (Lines{"ready on", "ready 1", "ready off", "ready 0", "mep latch", "mep 1",
                                "ready on", "ready 1"}));
}

TEST_F(EventTest, CannotMakeAnUnpoweredCameraReady) {
    Load(kOneChip + "[pulls]\ncamera_power = 0\n"
                    "[[event]]\nat_ms = 5\naction = 'not-ready'\n"
                    "[[event]]\nat_ms = 6\naction = 'ready'\n");
    Advance(10);
    EXPECT_EQ(rig_level(RIG_READY), 0);
}

TEST_F(EventTest, NotReadyEndsAnExposure) {
    Load(kOneChip + "[[event]]\nat_ms = 10\naction = 'not-ready'\n");
    FT_HANDLE pins = OpenPins();
    Drive(pins, kRest | kTrigger);
    Advance(100);
    EXPECT_EQ(rig_level(RIG_MEP), 0);
    EXPECT_EQ(rig_level(RIG_READY), 0);
}

TEST_F(EventTest, OpensThePortDriver) {
    Load("[lpt]\n[inpout]\ndriver_open = false\n"
         "[[event]]\nbefore = 'IsInpOutDriverOpen'\ncall = 2\naction = 'open-driver'\n");
    EXPECT_EQ(IsInpOutDriverOpen(), 0);
    EXPECT_EQ(Inp32(0x378), 0) << "nothing is read";
    EXPECT_NE(IsInpOutDriverOpen(), 0);
    Out32(0x378, 0x01);
    EXPECT_EQ(Inp32(0x378), 0x01);
    EXPECT_EQ(Take(RIG_EVENT), (Lines{"open-driver"}));
}

TEST_F(EventTest, EqualMomentsKeepTheirOrder) {
    Load(kOneChip + "[[event]]\nat_ms = 5\naction = 'not-ready'\n"
                    "[[event]]\nat_ms = 5\naction = 'ready'\n");
    Advance(5);
    EXPECT_EQ(rig_level(RIG_READY), 1);
}

TEST_F(EventTest, EndsWithItsScenario) {
    Load(kOneChip + "[[event]]\nat_ms = 5\naction = 'unplug'\n"
                    "[[event]]\nbefore = 'FT_Open'\naction = 'unplug'\n");
    Load(kOneChip);
    Advance(10);
    EXPECT_NE(Open(0), nullptr);
}

} // namespace
} // namespace test
