/// The PC sleeps and resumes: what each kind of hardware loses.
#include "bench_rig.h"
#include "eapi.h"
#include "inpout.h"

namespace test {
namespace {

using SleepTest = BenchRig;

std::string SleepAt(int ms, const std::string& duration = "") {
    return "[[event]]\nat_ms = " + std::to_string(ms) + "\naction = 'sleep" + duration + "'\n";
}

TEST_F(SleepTest, CallsWaitUntilThePcResumes) {
    Load(kOneChip + SleepAt(10, " 3000"));
    FT_HANDLE serial = Open(0);
    Advance(11);
    EXPECT_EQ(FT_ResetDevice(serial), kIoError) << "its chip came back as a new device";
    EXPECT_EQ(Milliseconds(), 3'010U);
    EXPECT_EQ(TakeAll(),
              (Lines{"FT_Open(0) -> 0", "sleep 3000", "resume", "FT_ResetDevice(SLV1A) -> 4"}));
}

TEST_F(SleepTest, LastsASecondUnlessSaid) {
    Load(SleepAt(10));
    Advance(20);
    EXPECT_EQ(Devices().size(), 0U);
    EXPECT_EQ(Milliseconds(), 1'010U);
}

TEST_F(SleepTest, CanComeBeforeACall) {
    Load(kOneChip + "[[event]]\nbefore = 'FT_Write'\naction = 'sleep 50'\n");
    FT_HANDLE pins = OpenPins();
    rig_journal_clear();
    const std::uint64_t before = Milliseconds();
    EXPECT_EQ(Write(pins, {0x83}), kIoError);
    EXPECT_EQ(Milliseconds() - before, 50U);
    EXPECT_EQ(TakeAll(), (Lines{"sleep 50", "resume", "FT_Write(SLV1B, [83]) -> 4"}));
}

TEST_F(SleepTest, OfItsOwnFaultTheCallStillKnows) {
    Load(kOneChip + "[[event]]\nbefore = 'FT_Open'\naction = 'sleep'\n"
                    "[[fault]]\nfunction = 'FT_Open'\nstatus = 7\n");
    FT_HANDLE handle = nullptr;
    EXPECT_EQ(FT_Open(0, &handle), 7U);
    EXPECT_EQ(FT_Open(0, &handle), FT_OK);
}

TEST_F(SleepTest, ARunningReadEndsAfterIt) {
    Load(kOneChip + SleepAt(20, " 500"));
    FT_HANDLE pins = OpenPins();
    EXPECT_EQ(FT_SetTimeouts(pins, 100, 0), FT_OK);
    std::uint8_t byte = 0;
    std::uint32_t count = 0;
    EXPECT_EQ(FT_Read(pins, &byte, 1, &count), kIoError);
    EXPECT_EQ(Milliseconds(), 520U);
}

TEST_F(SleepTest, OneSleepIsNotWithinAnother) {
    Load(SleepAt(10, " 100") + SleepAt(50, " 1000"));
    Advance(200);
    EXPECT_EQ(Take(RIG_EVENT), (Lines{"sleep 100", "sleep 1000", "resume"}));
}

TEST_F(SleepTest, EndsWithItsScenario) {
    Load(SleepAt(10, " 1000"));
    Advance(20);
    EXPECT_EQ(rig_level(RIG_DARK), 0) << "it sleeps";
    Load(kOneChip);
    EXPECT_NE(Open(0), nullptr);
    EXPECT_EQ(Milliseconds(), 0U);
}

TEST_F(SleepTest, AUsbChipComesBackAsANewDevice) {
    Load(kOneChip + "named_after_ms = 300\nopens_after_ms = 400\n" + SleepAt(1'000));
    FT_HANDLE pins = OpenPins();
    Drive(pins, kRest | kDark);
    Advance(1'000);
    EXPECT_EQ(rig_level(RIG_DARK), 0) << "nobody drives it while the PC sleeps";
    Advance(1'100);
    EXPECT_STREQ(Devices().at(1).SerialNumber, "");
    EXPECT_EQ(Open(1), nullptr);
    Advance(300);
    EXPECT_STREQ(Devices().at(1).SerialNumber, "SLV1B");
    EXPECT_EQ(FT_Close(pins), kIoError);
    EXPECT_EQ(HighByte(OpenPins()), 0xf0) << "not dark any more";
}

TEST_F(SleepTest, AChipWhosePlugIsPulledMeanwhileStaysAway) {
    Load(kOneChip + SleepAt(10) + "[[event]]\nat_ms = 500\naction = 'unplug'\n");
    Advance(2'000);
    EXPECT_TRUE(Devices().empty());
}

TEST_F(SleepTest, AnotherProgramLosesItsChipToo) {
    Load(kOneChip + "open_elsewhere = true\n" + SleepAt(10));
    Advance(2'000);
    EXPECT_NE(Open(1), nullptr);
}

TEST_F(SleepTest, PinsOfTheEmbeddedApiAreInputsAgain) {
    Load("[eapi]\n" + SleepAt(10));
    EXPECT_EQ(EApiLibInitialize(), 0U);
    EXPECT_EQ(EApiGPIOSetDirection(4, 1, EAPI_GPIO_OUTPUT), 0U);
    EXPECT_EQ(EApiGPIOSetLevel(4, 1, 1), 0U);
    EXPECT_EQ(rig_level(RIG_DARK), 1);
    Advance(2'000);
    EXPECT_EQ(rig_level(RIG_DARK), 0);
    constexpr EApiStatus_t kWrongDirection = 0xFFFF'FEFC;
    EXPECT_EQ(EApiGPIOSetLevel(4, 1, 1), kWrongDirection) << "the library is still initialised";
    EXPECT_EQ(EApiGPIOSetDirection(4, 1, EAPI_GPIO_OUTPUT), 0U);
    EXPECT_EQ(rig_level(RIG_DARK), 0) << "nor is the old level kept";
}

TEST_F(SleepTest, TheSuperIoChipIsSetUpAnew) {
    Load("[superio]\n" + SleepAt(10));
    const auto set = [](std::uint16_t index, std::uint16_t value) {
        Out32(0x2E, index);
        Out32(0x2F, value);
    };
    const auto open = [&] {
        set(0x87, 0x00); // the key is 0x87 twice in a row, without the data port in between
        Out32(0x2E, 0x87);
        Out32(0x2E, 0x87);
    };
    open();
    set(0x07, 7);
    set(0xEE, 0x55);
    set(0xEC, 0x86);
    set(0xED, 0x78); // dark, both powers on, no clear-MEP
    EXPECT_EQ(rig_level(RIG_DARK), 1);
    Advance(2'000);
    EXPECT_EQ(rig_level(RIG_DARK), 0);
    EXPECT_EQ(Inp32(0x2E), 0xFF) << "it is silent again";
    open();
    EXPECT_EQ(Inp32(0x2E), 0x00) << "no register is chosen";
    Out32(0x2E, 0xEC);
    EXPECT_EQ(Inp32(0x2F), 0xFF) << "nor a device";
    set(0x07, 7);
    Out32(0x2E, 0xEE);
    EXPECT_EQ(Inp32(0x2F), 0x00);
    Out32(0x2E, 0xEC);
    EXPECT_EQ(Inp32(0x2F), 0xFF) << "inputs";
    set(0xEC, 0x86);
    EXPECT_EQ(rig_level(RIG_DARK), 0) << "nor is the old level kept";
}

TEST_F(SleepTest, TheSuperIoChipHasTheLevelsThatTheFirmwareGivesIt) {
    Load("[superio]\ndata = 0x78\n" + SleepAt(10));
    Advance(2'000);
    const auto set = [](std::uint16_t index, std::uint16_t value) {
        Out32(0x2E, index);
        Out32(0x2F, value);
    };
    Out32(0x2E, 0x87);
    Out32(0x2E, 0x87);
    set(0x07, 7);
    set(0xEC, 0x86);
    EXPECT_EQ(rig_level(RIG_DARK), 1);
}

TEST_F(SleepTest, TheParallelPortDrivesWhatTheLinesRestAt) {
    Load("[lpt]\n[pulls]\ncamera_power = 0\n" + SleepAt(10));
    EXPECT_EQ(Inp32(0x378), 0x40);
    Out32(0x378, 0x01); // dark, both powers on
    Out32(0x37A, 0x01);
    EXPECT_EQ(rig_level(RIG_CAMERA_POWER), 1);
    EXPECT_EQ(rig_level(RIG_CLEAR_MEP), 1);
    Advance(20);
    EXPECT_EQ(rig_level(RIG_CAMERA_POWER), 0) << "the camera goes off while the PC sleeps";
    EXPECT_EQ(Inp32(0x378), 0x40);
    EXPECT_EQ(Inp32(0x37A), 0x00);
    EXPECT_EQ(rig_level(RIG_DARK), 0);
    rig_journal_clear();
    Out32(0x378, 0x40);
    EXPECT_EQ(Take(RIG_EDGE), (Lines{})) << "it drives what it reads";
}

TEST_F(SleepTest, TheCameraGoesOn) {
    Load(kOneChip + "[camera]\nexposure_ms = 100\n" + SleepAt(10));
    Drive(OpenPins(), kRest | kTrigger);
    Advance(60);
    EXPECT_EQ(rig_level(RIG_READY), 0);
    Advance(40);
    EXPECT_EQ(rig_level(RIG_READY), 1) << "it has a supply of its own";
    EXPECT_EQ(rig_level(RIG_MEP), 1);
}

} // namespace
} // namespace test
