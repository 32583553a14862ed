/// The environment variables that the rig reads at its first use. So each test runs in a process
/// that has not used the rig yet.
#include <cstdlib>
#include <fstream>

#include "bench_rig.h"

namespace test {
namespace {

class EnvironmentDeathTest : public ::testing::Test {
  protected:
    EnvironmentDeathTest() {
        ::testing::FLAGS_gtest_death_test_style = "threadsafe"; // a fresh process, not a fork
        const std::string name = ::testing::UnitTest::GetInstance()->current_test_info()->name();
        path = "environment_test." + name;
    }
    ~EnvironmentDeathTest() override { std::remove(path.c_str()); }

    void Save(const std::string& text) const { std::ofstream(path) << text; }

    std::string path;
};

[[noreturn]] void ExitWithDeviceCount() {
    std::uint32_t count = 99;
    FT_CreateDeviceInfoList(&count);
    std::exit(static_cast<int>(count));
}

using ::testing::ExitedWithCode;

TEST_F(EnvironmentDeathTest, WithoutAScenarioThereIsOneChip) {
    const auto child = [] {
        unsetenv("SOLVANE_RIG");
        ExitWithDeviceCount();
    };
    EXPECT_EXIT(child(), ExitedWithCode(2), "^$");
    const auto childWithEmptyName = [] {
        setenv("SOLVANE_RIG", "", 1);
        ExitWithDeviceCount();
    };
    EXPECT_EXIT(childWithEmptyName(), ExitedWithCode(2), "^$");
}

TEST_F(EnvironmentDeathTest, AScenarioIsLoaded) {
    Save("[[usb]]\nchip = 'FT232R'\n");
    const auto child = [&] {
        setenv("SOLVANE_RIG", path.c_str(), 1);
        ExitWithDeviceCount();
    };
    EXPECT_EXIT(child(), ExitedWithCode(1), "^$");
}

TEST_F(EnvironmentDeathTest, ABadScenarioMeansNoHardware) {
    Save("[[usb]]\nchip = 'FT2232H'\ncolour = 1\n");
    const auto child = [&] {
        setenv("SOLVANE_RIG", path.c_str(), 1);
        ExitWithDeviceCount();
    };
    EXPECT_EXIT(child(), ExitedWithCode(0),
                "^solvane_rig: environment_test.ABadScenarioMeansNoHardware: line 3: unknown key "
                "'colour' in \\[\\[usb\\]\\]; there are [a-z, _]*; there is no hardware\n$");
}

TEST_F(EnvironmentDeathTest, AMissingScenarioMeansNoHardware) {
    const auto child = [] {
        setenv("SOLVANE_RIG", "no_such_file.toml", 1);
        ExitWithDeviceCount();
    };
    EXPECT_EXIT(child(), ExitedWithCode(0),
                "^solvane_rig: no_such_file.toml: cannot be read; there is no hardware\n$");
}

TEST_F(EnvironmentDeathTest, AWaveformIsWrittenUntilTheEnd) {
    const auto child = [&] {
        setenv("SOLVANE_RIG_VCD", path.c_str(), 1);
        FT_HANDLE pins = OpenPins();
        Drive(pins, kRest | kTrigger);
        host::Advance(40'000'000);
        std::exit(0);
    };
    EXPECT_EXIT(child(), ExitedWithCode(0), "^$");
    EXPECT_EQ(ChangesIn(path), "1! 1( 0\" #25000 1# 1\" #40000");
}

TEST_F(EnvironmentDeathTest, AJournalIsWrittenAsItHappens) {
    const auto child = [&] {
        setenv("SOLVANE_RIG_JOURNAL", path.c_str(), 1);
        host::Advance(1'000);
        FT_HANDLE pins = OpenPins();
        host::Advance(12'345'678);
        Drive(pins, kRest | kDark);
        rig_note("two\nlines");
        rig_unplug(0);
        rig_load("");
        rig_note("the end");
        std::_Exit(0); // no normal exit: the journal must be complete without one
    };
    EXPECT_EXIT(child(), ExitedWithCode(0), "^$");
    EXPECT_EQ(ReadText(path), "# a scenario begins; times in ms\n"
                              "       0.000000 call  FT_Open(1) -> 0\n"
                              "       0.000000 call  FT_SetBitMode(SLV1B, 0, 2) -> 0\n"
                              "       0.000000 call  FT_SetLatencyTimer(SLV1B, 0) -> 0\n"
                              "      12.345678 edge  dark 1\n"
                              "      12.345678 call  FT_Write(SLV1B, [82 42 4f]) -> 0, 3\n"
                              "      12.345678 note  two lines\n"
                              "      12.345678 event unplug 0\n"
                              "      12.345678 edge  dark 0\n"
                              "# a scenario begins; times in ms\n"
                              "       0.000000 note  the end\n");
}

TEST_F(EnvironmentDeathTest, FilesThatCannotBeWrittenAreNamed) {
    const auto child = [] {
        setenv("SOLVANE_RIG_JOURNAL", "no_such_directory/journal", 1);
        setenv("SOLVANE_RIG_VCD", "no_such_directory/vcd", 1);
        ExitWithDeviceCount();
    };
    EXPECT_EXIT(child(), ExitedWithCode(2),
                "^solvane_rig: no_such_directory/journal: cannot be written\n"
                "solvane_rig: no_such_directory/vcd: cannot be written\n$");
}

} // namespace
} // namespace test
