#include "bench_rig.h"

namespace test {
namespace {

class CameraTest : public BenchRig {
  protected:
    void LoadCamera(const std::string& camera) {
        Load(kOneChip + "[camera]\n" + camera);
        pins = OpenPins();
        Drive(pins, kRest);
    }

    void Trigger() const {
        Drive(pins, kRest | kTrigger);
        Drive(pins, kRest);
    }

    void ClearMep() const {
        Drive(pins, kRest & ~kNoClearMep);
        Drive(pins, kRest);
    }

    FT_HANDLE pins = nullptr;
};

TEST_F(CameraTest, TakesAPicture) {
    LoadCamera("");
    rig_journal_clear();
    Trigger();
    EXPECT_EQ(rig_captures(), 1U);
    EXPECT_EQ(rig_level(RIG_READY), 0);
    Advance(24);
    EXPECT_EQ(rig_level(RIG_READY), 0);
    EXPECT_EQ(rig_level(RIG_MEP), 0);
    Advance(1);
    EXPECT_EQ(rig_level(RIG_READY), 1);
    EXPECT_EQ(rig_level(RIG_MEP), 1);
    EXPECT_EQ(TakeAll(),
              (Lines{"trigger 1", "capture 1", "ready 0", "FT_Write(SLV1B, [82 41 4f]) -> 0, 3",
                     "trigger 0", "FT_Write(SLV1B, [82 40 4f]) -> 0, 3", "mep 1", "ready 1"}));
}

TEST_F(CameraTest, HappensAtItsOwnTimeHoweverLateOneLooks) {
    LoadCamera("exposure_ms = 7");
    Trigger();
    Advance(1000);
    rig_entry entry{};
    ASSERT_EQ(rig_journal_entry(rig_journal_size() - 1, &entry), 0);
    EXPECT_STREQ(entry.text, "ready 1");
    EXPECT_EQ(entry.time, 7'000'000U);
}

TEST_F(CameraTest, IgnoresATriggerWhileNotReady) {
    LoadCamera("");
    Trigger();
    Trigger();
    EXPECT_EQ(rig_captures(), 1U);
    Advance(25);
    Trigger();
    EXPECT_EQ(rig_captures(), 2U);
}

TEST_F(CameraTest, CountsEdgesNotLevels) {
    LoadCamera("exposure_ms = 1");
    Drive(pins, kRest | kTrigger);
    Advance(5);
    Drive(pins, kRest | kTrigger);
    EXPECT_EQ(rig_captures(), 1U);
}

TEST_F(CameraTest, ClearMepReleasesTheLatch) {
    LoadCamera("mep_latched = true");
    EXPECT_EQ(rig_level(RIG_MEP), 1);
    ClearMep();
    EXPECT_EQ(rig_level(RIG_MEP), 0);
}

TEST_F(CameraTest, AHeldClearMepKeepsTheLatchOpen) {
    LoadCamera("");
    Trigger();
    Drive(pins, kRest & ~kNoClearMep);
    Advance(30);
    EXPECT_EQ(rig_level(RIG_READY), 1);
    Drive(pins, kRest);
    EXPECT_EQ(rig_level(RIG_MEP), 0);
}

TEST_F(CameraTest, MayNeverLatch) {
    LoadCamera("mep = 'never'");
    Trigger();
    Advance(30);
    EXPECT_EQ(rig_level(RIG_READY), 1);
    EXPECT_EQ(rig_level(RIG_MEP), 0);
}

TEST_F(CameraTest, MayKeepItsLatchForGood) {
    LoadCamera("mep = 'stuck'");
    EXPECT_EQ(rig_level(RIG_MEP), 0);
    Trigger();
    Advance(30);
    ClearMep();
    EXPECT_EQ(rig_level(RIG_MEP), 1);
}

TEST_F(CameraTest, NeedsPower) {
    LoadCamera("ready_after_power_ms = 80\nmep_latched = true");
    Drive(pins, kRest | kCameraOff);
    EXPECT_EQ(rig_level(RIG_READY), 0);
    EXPECT_EQ(rig_level(RIG_MEP), 1) << "the latch is not the camera's";
    Trigger();
    EXPECT_EQ(rig_captures(), 0U);
    ClearMep();
    EXPECT_EQ(rig_level(RIG_MEP), 0);

    Drive(pins, kRest);
    Advance(79);
    EXPECT_EQ(rig_level(RIG_READY), 0);
    Advance(1);
    EXPECT_EQ(rig_level(RIG_READY), 1);
}

TEST_F(CameraTest, StartsHalfASecondAfterPowerByDefault) {
    LoadCamera("");
    Drive(pins, kRest | kCameraOff);
    Drive(pins, kRest);
    Advance(499);
    EXPECT_EQ(rig_level(RIG_READY), 0);
    Advance(1);
    EXPECT_EQ(rig_level(RIG_READY), 1);
}

TEST_F(CameraTest, APowerCutEndsAnExposure) {
    LoadCamera("ready_after_power_ms = 1000");
    Trigger();
    Drive(pins, kRest | kCameraOff);
    Drive(pins, kRest);
    Advance(30);
    EXPECT_EQ(rig_level(RIG_MEP), 0);
    EXPECT_EQ(rig_level(RIG_READY), 0);
}

TEST_F(CameraTest, AccessoriesPowerIsNotItsOwn) {
    LoadCamera("");
    Drive(pins, kRest | kAccessoriesOff);
    EXPECT_EQ(rig_level(RIG_ACCESSORIES_POWER), 0);
    EXPECT_EQ(rig_level(RIG_READY), 1);
}

TEST_F(CameraTest, WakesAtARisingEdgeOfDark) {
    LoadCamera("asleep = true");
    EXPECT_EQ(rig_level(RIG_READY), 0);
    Trigger();
    EXPECT_EQ(rig_captures(), 0U);
    Drive(pins, kRest | kDark);
    EXPECT_EQ(rig_level(RIG_READY), 1);
}

TEST_F(CameraTest, WakesAtAFallingEdgeOfDark) {
    Load(kOneChip + "[camera]\nasleep = true\n[pulls]\ndark = 1\n");
    pins = OpenPins();
    Drive(pins, kRest | kDark);
    EXPECT_EQ(rig_level(RIG_READY), 0) << "no edge so far";
    Drive(pins, kRest);
    EXPECT_EQ(rig_level(RIG_READY), 1);
}

TEST_F(CameraTest, MayBeBusyFromTheStart) {
    LoadCamera("ready = false\nready_after_power_ms = 5");
    Advance(100'000);
    EXPECT_EQ(rig_level(RIG_READY), 0);
    Drive(pins, kRest | kDark);
    EXPECT_EQ(rig_level(RIG_READY), 0) << "it is not asleep";
    Drive(pins, kRest | kCameraOff);
    Drive(pins, kRest);
    Advance(5);
    EXPECT_EQ(rig_level(RIG_READY), 1) << "a power cycle helps";
}

TEST_F(CameraTest, LinesCanBeForced) {
    LoadCamera("");
    EXPECT_EQ(rig_force(RIG_READY, 0), 0);
    EXPECT_EQ(rig_level(RIG_READY), 0);
    EXPECT_EQ(rig_force(RIG_MEP, 1), 0);
    ClearMep();
    EXPECT_EQ(rig_level(RIG_MEP), 1);
    EXPECT_EQ(rig_force(RIG_READY, -1), 0);
    EXPECT_EQ(rig_level(RIG_READY), 1) << "what the camera says";
    EXPECT_EQ(rig_force(RIG_MEP, -1), 0);
    EXPECT_EQ(rig_level(RIG_MEP), 0);
    for (const rig_line line : {RIG_TRIGGER, RIG_CLEAR_MEP, RIG_DARK, RIG_CAMERA_POWER,
                                RIG_ACCESSORIES_POWER, RIG_LINE_COUNT}) {
        EXPECT_EQ(rig_force(line, 1), -1);
    }
}

TEST_F(CameraTest, LinesHaveNames) {
    EXPECT_STREQ(rig_line_name(RIG_TRIGGER), "trigger");
    EXPECT_STREQ(rig_line_name(RIG_READY), "ready");
    EXPECT_STREQ(rig_line_name(RIG_MEP), "mep");
    EXPECT_STREQ(rig_line_name(RIG_CLEAR_MEP), "clear_mep");
    EXPECT_STREQ(rig_line_name(RIG_DARK), "dark");
    EXPECT_STREQ(rig_line_name(RIG_CAMERA_POWER), "camera_power");
    EXPECT_STREQ(rig_line_name(RIG_ACCESSORIES_POWER), "accessories_power");
    EXPECT_STREQ(rig_line_name(RIG_LINE_COUNT), "");
    EXPECT_EQ(rig_level(RIG_LINE_COUNT), 0);
}

} // namespace
} // namespace test
