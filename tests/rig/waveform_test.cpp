#include "bench_rig.h"
#include "vcd_file.h"

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

TEST_F(WaveformTest, DeclaresEveryLine) {
    ASSERT_EQ(rig_write_vcd(path.c_str()), 0);
    rig_write_vcd(nullptr);
    const VcdFile file = ReadVcd(path);
    EXPECT_EQ(file.timescale, "1 us");
    EXPECT_EQ(file.scope, "camera");
    Lines names;
    for (int line = 0; line < RIG_LINE_COUNT; ++line) {
        names.emplace_back(rig_line_name(static_cast<rig_line>(line)));
        EXPECT_EQ(file.initial.count(names.back()), 1U);
    }
    EXPECT_EQ(file.wires, names);
    EXPECT_EQ(file.body, Lines{"#0"});
}

TEST_F(WaveformTest, StartsFromTheLevelsAndTheTimeNow) {
    FT_HANDLE pins = OpenPins();
    Drive(pins, kRest | kDark | kCameraOff);
    Advance(50);
    rig_write_vcd(path.c_str());
    Advance(2);
    Drive(pins, kRest);
    rig_write_vcd(nullptr);
    const VcdFile file = ReadVcd(path);
    EXPECT_EQ(file.initial.at("dark"), 1);
    EXPECT_EQ(file.initial.at("camera_power"), 0);
    EXPECT_EQ(file.initial.at("accessories_power"), 1);
    EXPECT_EQ(file.initial.at("ready"), 0);
    EXPECT_EQ(file.body, (Lines{"#0", "#2000", "dark 0", "camera_power 1"}));
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
    EXPECT_EQ(ReadVcd(path).body, (Lines{"#0", "#1", "trigger 1", "ready 0", "#10001", "trigger 0",
                                         "#25001", "mep 1", "ready 1", "#110001"}))
        << "the exposure ends at its own time, the file at the end";
}

TEST_F(WaveformTest, IsReadableAtAnyMoment) {
    FT_HANDLE pins = OpenPins();
    Drive(pins, kRest);
    rig_write_vcd(path.c_str());
    EXPECT_EQ(ReadVcd(path).body, Lines{"#0"});
    Advance(1);
    Drive(pins, kRest | kDark);
    EXPECT_EQ(ReadVcd(path).body, (Lines{"#0", "#1000", "dark 1"})) << "before it is ended";
}

TEST_F(WaveformTest, GoesOnAcrossScenarios) {
    rig_write_vcd(path.c_str());
    Advance(3);
    Load(kOneChip + "[camera]\nasleep = true\n");
    Advance(4);
    Drive(OpenPins(), kRest | kDark);
    rig_write_vcd(nullptr);
    EXPECT_EQ(ReadVcd(path).body, (Lines{"#0", "#3000", "ready 0", "#7000", "dark 1", "ready 1"}));
}

TEST_F(WaveformTest, ANewFileEndsTheOldOne) {
    const std::string second = path + ".second";
    rig_write_vcd(path.c_str());
    Advance(3);
    ASSERT_EQ(rig_write_vcd(second.c_str()), 0);
    Advance(1);
    Drive(OpenPins(), kRest | kDark);
    rig_write_vcd(nullptr);
    EXPECT_EQ(ReadVcd(path).body, (Lines{"#0", "#3000"}));
    EXPECT_EQ(ReadVcd(second).body, (Lines{"#0", "#1000", "dark 1"}));
    std::remove(second.c_str());
}

TEST_F(WaveformTest, NeedsAPlaceForItsFile) {
    EXPECT_EQ(rig_write_vcd("no_such_directory/x.vcd"), -1);
    EXPECT_EQ(rig_write_vcd(nullptr), 0);
}

} // namespace
} // namespace test
