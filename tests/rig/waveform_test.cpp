#include "bench_rig.h"

namespace test {
namespace {

class WaveformTest : public BenchRig {
  protected:
    WaveformTest() : path(std::string("waveform_test.") + Name() + ".vcd") {}
    ~WaveformTest() override {
        rig_write_vcd(nullptr);
        std::remove(path.c_str());
    }

    static std::string Name() {
        return ::testing::UnitTest::GetInstance()->current_test_info()->name();
    }

    const std::string path;
};

TEST_F(WaveformTest, DeclaresEveryLineAndItsLevelNow) {
    FT_HANDLE pins = OpenPins();
    Drive(pins, kRest | kDark | kCameraOff);
    Advance(50);
    ASSERT_EQ(rig_write_vcd(path.c_str()), 0);
    Advance(2);
    Drive(pins, kRest);
    rig_write_vcd(nullptr);
    EXPECT_EQ(ReadText(path), "$version Solvane rig $end\n"
                              "$timescale 1 us $end\n"
                              "$scope module camera $end\n"
                              "$var wire 1 ! trigger $end\n"
                              "$var wire 1 \" ready $end\n"
                              "$var wire 1 # mep $end\n"
                              "$var wire 1 $ clear_mep $end\n"
                              "$var wire 1 % dark $end\n"
                              "$var wire 1 & camera_power $end\n"
                              "$var wire 1 ' accessories_power $end\n"
                              "$upscope $end\n"
                              "$scope module events $end\n"
                              "$var event 1 ( capture $end\n"
                              "$var event 1 ) ignored $end\n"
                              "$var event 1 * unplug $end\n"
                              "$var event 1 + plug $end\n"
                              "$var event 1 , sleep $end\n"
                              "$var event 1 - resume $end\n"
                              "$var event 1 . fault $end\n"
                              "$upscope $end\n"
                              "$enddefinitions $end\n"
                              "#0\n"
                              "$dumpvars\n"
                              "0!\n0\"\n0#\n0$\n1%\n0&\n1'\n"
                              "$end\n"
                              "#2000\n0%\n1&\n");
}

TEST_F(WaveformTest, ShowsWhatHappenedWhen) {
    FT_HANDLE pins = OpenPins();
    Drive(pins, kRest);
    rig_write_vcd(path.c_str());
    host::Advance(1'500);
    Drive(pins, kRest | kTrigger);
    Advance(10);
    Drive(pins, kRest);
    Advance(100);
    rig_write_vcd(nullptr);
    EXPECT_EQ(ChangesIn(path), "#1 1! 1( 0\" #10001 0! #25001 1# 1\" #110001")
        << "the exposure ends at its own time, the file at the end";
}

TEST_F(WaveformTest, MarksWhatHappenedToTheLines) {
    Load(kOneChip + "[[fault]]\nfunction = 'FT_ResetDevice'\nstatus = 4\n"
                    "[[event]]\nat_ms = 20\naction = 'sleep 5'\n"
                    "[[event]]\nat_ms = 30\naction = 'latch-mep'\n");
    FT_HANDLE pins = OpenPins();
    Drive(pins, kRest);
    rig_write_vcd(path.c_str());
    Advance(1);
    Drive(pins, kRest | kTrigger);
    Advance(2);
    Drive(pins, kRest);
    Advance(1);
    Drive(pins, kRest | kTrigger); // starts an exposure
    Advance(1);
    FT_ResetDevice(pins);
    Advance(1);
    rig_unplug(0);
    Advance(1);
    rig_plug(0);
    Advance(33);
    rig_write_vcd(nullptr);
    EXPECT_EQ(ChangesIn(path), "#1000 1! 1( 0\" #3000 0! #4000 1! 1) #5000 1. #6000 1* 0! "
                               "#7000 1+ #20000 1, #25000 1- #26000 1# 1\" #40000");
    EXPECT_EQ(Take(RIG_EVENT), (Lines{"capture 1", "ignored trigger", "fault FT_ResetDevice",
                                      "unplug 0", "plug 0", "sleep 5", "resume", "mep latch"}));
}

TEST_F(WaveformTest, IsReadableAtAnyMoment) {
    FT_HANDLE pins = OpenPins();
    Drive(pins, kRest);
    rig_write_vcd(path.c_str());
    EXPECT_EQ(ChangesIn(path), "");
    Advance(1);
    Drive(pins, kRest | kDark);
    EXPECT_EQ(ChangesIn(path), "#1000 1%") << "before it is ended";
}

TEST_F(WaveformTest, GoesOnAcrossScenarios) {
    rig_write_vcd(path.c_str());
    Advance(3);
    Load(kOneChip + "[camera]\nasleep = true\n");
    Advance(4);
    Drive(OpenPins(), kRest | kDark);
    rig_write_vcd(nullptr);
    EXPECT_EQ(ChangesIn(path), "#3000 0\" #7000 1% 1\"");
}

TEST_F(WaveformTest, ANewFileEndsTheOldOne) {
    const std::string second = path + ".second";
    rig_write_vcd(path.c_str());
    Advance(3);
    ASSERT_EQ(rig_write_vcd(second.c_str()), 0);
    Advance(1);
    Drive(OpenPins(), kRest | kDark);
    rig_write_vcd(nullptr);
    EXPECT_EQ(ChangesIn(path), "#3000");
    EXPECT_EQ(ChangesIn(second), "#1000 1%");
    std::remove(second.c_str());
}

TEST_F(WaveformTest, NeedsAPlaceForItsFile) {
    EXPECT_EQ(rig_write_vcd("no_such_directory/x.vcd"), -1);
    EXPECT_EQ(rig_write_vcd(nullptr), 0);
}

} // namespace
} // namespace test
