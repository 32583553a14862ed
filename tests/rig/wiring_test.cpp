#include "bench_rig.h"

namespace test {
namespace {

using Wiring = BenchRig;

struct Output {
    rig_line line;
    std::uint8_t mask;
    bool activeLevel;
};

constexpr Output kOutputLines[] = {
    {RIG_TRIGGER, kTrigger, true},         {RIG_DARK, kDark, true},
    {RIG_CAMERA_POWER, kCameraOff, false}, {RIG_ACCESSORIES_POWER, kAccessoriesOff, false},
    {RIG_CLEAR_MEP, kNoClearMep, false},
};

TEST_F(Wiring, DrivesEachLineFromItsOwnPin) {
    FT_HANDLE pins = OpenPins();
    for (const int value : {0x00, 0xff}) {
        for (const Output& changed : kOutputLines) {
            Drive(pins, value ^ changed.mask);
            for (const Output& output : kOutputLines) {
                const bool pin = ((value ^ changed.mask) & output.mask) != 0;
                EXPECT_EQ(rig_level(output.line), pin == output.activeLevel)
                    << rig_line_name(output.line);
            }
        }
    }
}

TEST_F(Wiring, DrivesOnlyWhatIsAnOutput) {
    FT_HANDLE pins = OpenPins();
    Write(pins, {0x82, kTrigger | kDark, kDark});
    EXPECT_EQ(rig_level(RIG_TRIGGER), 0);
    EXPECT_EQ(rig_level(RIG_DARK), 1);
    Write(pins, {0x82, kTrigger | kDark, 0});
    EXPECT_EQ(rig_level(RIG_DARK), 0) << "an input lets go of its line";
}

TEST_F(Wiring, LowByteDrivesNothing) {
    FT_HANDLE pins = OpenPins();
    rig_journal_clear();
    Write(pins, {0x80, 0x00, 0xff});
    Write(pins, {0x80, 0xff, 0xff});
    EXPECT_TRUE(Take(RIG_EDGE).empty());
}

TEST_F(Wiring, ReadsTheLinesWhenNothingIsDriven) {
    FT_HANDLE pins = OpenPins();
    // No trigger, not dark, clear-MEP at rest; both powers on; ready; no flag.
    EXPECT_EQ(HighByte(pins), 0xf0);
    EXPECT_EQ(LowByte(pins), 0x1f);
}

TEST_F(Wiring, ReadsEachInput) {
    FT_HANDLE pins = OpenPins();
    rig_force(RIG_READY, 0);
    EXPECT_EQ(HighByte(pins), 0xe0);
    rig_force(RIG_MEP, 1);
    EXPECT_EQ(HighByte(pins), 0xc0);
    rig_force(RIG_READY, 1);
    EXPECT_EQ(HighByte(pins), 0xd0);
}

TEST_F(Wiring, ReadsBackWhatTheOutputsReallyAre) {
    FT_HANDLE pins = OpenPins();
    Drive(pins, kRest | kAccessoriesOff);
    EXPECT_EQ(LowByte(pins), 0x1f | 0x20);
    Drive(pins, kRest | kCameraOff);
    EXPECT_EQ(LowByte(pins), 0x1f | 0x40);
    Drive(pins, kRest | kDark);
    EXPECT_EQ(LowByte(pins), 0x1f | 0x80);
}

TEST_F(Wiring, ReadsAnOutputAsItIsDriven) {
    FT_HANDLE pins = OpenPins();
    Drive(pins, 0xff);
    EXPECT_EQ(HighByte(pins) & kOutputs, kOutputs);
    Drive(pins, 0x00);
    EXPECT_EQ(HighByte(pins) & kOutputs, 0);
    Write(pins, {0x80, 0x0a, 0x0f});
    EXPECT_EQ(LowByte(pins) & 0x1f, 0x1a) << "unconnected inputs are pulled up";
}

TEST_F(Wiring, HasNothingOnChannelA) {
    FT_HANDLE serial = OpenPins(0);
    rig_journal_clear();
    Write(serial, {0x82, 0xff, 0xff});
    EXPECT_TRUE(Take(RIG_EDGE).empty());
    Write(serial, {0x82, 0x05, 0x0f});
    EXPECT_EQ(HighByte(serial), 0xf5);
    EXPECT_EQ(LowByte(serial), 0xff);
}

TEST_F(Wiring, FollowsThePulls) {
    Load(kOneChip + "[pulls]\ntrigger = 1\nclear_mep = 1\ndark = 1\ncamera_power = 0\n"
                    "accessories_power = 0\n");
    for (const rig_line line : {RIG_TRIGGER, RIG_CLEAR_MEP, RIG_DARK}) {
        EXPECT_EQ(rig_level(line), 1) << rig_line_name(line);
    }
    EXPECT_EQ(rig_level(RIG_CAMERA_POWER), 0);
    EXPECT_EQ(rig_level(RIG_ACCESSORIES_POWER), 0);

    FT_HANDLE pins = OpenPins();
    EXPECT_EQ(HighByte(pins), 0xaf) << "not ready without power";
    Drive(pins, kRest);
    EXPECT_EQ(rig_level(RIG_TRIGGER), 0);
    FT_SetBitMode(pins, 0, FT_BITMODE_RESET);
    EXPECT_EQ(rig_level(RIG_TRIGGER), 1) << "back to its pull";
}

TEST_F(Wiring, IsOnTheFirstFt2232hUnlessAnotherIsChosen) {
    const auto drivesTheCamera = [](int index) {
        FT_HANDLE pins = OpenPins(index);
        Drive(pins, kRest | kDark);
        const bool isDark = rig_level(RIG_DARK) == 1;
        FT_SetBitMode(pins, 0, FT_BITMODE_RESET);
        return isDark;
    };
    const std::string serialCable = "[[usb]]\nchip = 'FT232R'\n";
    Load(serialCable + kOneChip + kOneChip);
    EXPECT_TRUE(drivesTheCamera(2));
    EXPECT_FALSE(drivesTheCamera(4));

    Load(kOneChip + kOneChip + "camera = true\n");
    EXPECT_FALSE(drivesTheCamera(1));
    EXPECT_TRUE(drivesTheCamera(3));

    Load(kOneChip + "camera = false\n" + kOneChip);
    EXPECT_FALSE(drivesTheCamera(1));
    EXPECT_TRUE(drivesTheCamera(3));
}

/// Opens a chip with a wiring fault, and sets its pins to rest.
FT_HANDLE OpenWired(const std::string& fault) {
    EXPECT_EQ(rig_load((kOneChip + "[wiring]\n" + fault).c_str()), 0) << rig_error();
    FT_HANDLE pins = OpenPins();
    Drive(pins, kRest);
    return pins;
}

constexpr std::uint8_t kReady = 0x10;
constexpr std::uint8_t kNoFlag = 0x20;
constexpr std::uint8_t kDarkBack = 0x80;

TEST_F(Wiring, BrokenWireCarriesNothing) {
    FT_HANDLE pins = OpenWired("trigger = 'broken'\nready = 'broken'\ndark_back = 'broken'");
    Drive(pins, kRest | kTrigger | kDark);
    EXPECT_EQ(rig_level(RIG_TRIGGER), 0);
    EXPECT_EQ(rig_captures(), 0u);
    EXPECT_EQ(HighByte(pins) & kTrigger, kTrigger) << "the pin itself has its level";
    rig_force(RIG_READY, 0);
    EXPECT_EQ(HighByte(pins) & kReady, kReady) << "an open input is pulled up";
    EXPECT_EQ(rig_level(RIG_DARK), 1);
    Drive(pins, kRest);
    EXPECT_EQ(LowByte(pins) & kDarkBack, kDarkBack);
}

TEST_F(Wiring, StuckWireKeepsItsLevel) {
    FT_HANDLE pins = OpenWired("camera_power = 'stuck at 0'\nmep = 'stuck at 1'");
    EXPECT_EQ(rig_level(RIG_CAMERA_POWER), 0);
    EXPECT_EQ(rig_level(RIG_READY), 0) << "a camera without power";
    EXPECT_EQ(HighByte(pins) & kNoFlag, 0);
    pins = OpenWired("dark = 'stuck at 1'\nready = 'stuck at 0'");
    EXPECT_EQ(rig_level(RIG_DARK), 1);
    EXPECT_EQ(rig_level(RIG_READY), 1);
    EXPECT_EQ(HighByte(pins) & kReady, 0);
}

TEST_F(Wiring, InvertedWireHasTheOppositeLevel) {
    FT_HANDLE pins = OpenWired("dark = 'inverted'\nready = 'inverted'");
    EXPECT_EQ(rig_level(RIG_DARK), 1);
    EXPECT_EQ(HighByte(pins) & kReady, 0);
    Drive(pins, kRest | kDark);
    EXPECT_EQ(rig_level(RIG_DARK), 0);
}

TEST_F(Wiring, SwappedWiresCarryEachOthersSignals) {
    FT_HANDLE pins = OpenWired("dark = 'swapped with trigger'\nready = 'swapped with mep'");
    Drive(pins, kRest | kDark);
    EXPECT_EQ(rig_captures(), 1u);
    EXPECT_EQ(HighByte(pins) & (kReady | kNoFlag), kReady) << "busy reads as a flag";
    Drive(pins, kRest | kTrigger);
    EXPECT_EQ(rig_level(RIG_DARK), 1);
    EXPECT_EQ(rig_level(RIG_TRIGGER), 0);
}

TEST_F(Wiring, OfShortedWiresTheLowLevelWins) {
    FT_HANDLE pins = OpenWired("trigger = 'shorted to dark'\nready = 'shorted to mep'");
    Drive(pins, kRest | kDark);
    EXPECT_EQ(rig_level(RIG_DARK), 0);
    Drive(pins, kRest | kDark | kTrigger);
    EXPECT_EQ(rig_level(RIG_DARK), 1);
    EXPECT_EQ(rig_captures(), 1u);
    EXPECT_EQ(HighByte(pins) & (kReady | kNoFlag), 0);
}

TEST_F(Wiring, ShortJoinsWhatTheCameraGivesWithWhatTheChipDrives) {
    FT_HANDLE pins = OpenWired("ready = 'shorted to trigger'");
    EXPECT_EQ(HighByte(pins) & kReady, 0) << "the trigger is low";
    Drive(pins, kRest | kTrigger);
    EXPECT_EQ(rig_captures(), 1u);
    EXPECT_EQ(rig_level(RIG_TRIGGER), 0)
        << "a camera at work holds ready low, and the trigger with it";

    pins = OpenWired("mep = 'shorted to clear_mep'");
    Drive(pins, kRest | kTrigger);
    Drive(pins, kRest);
    Advance(30);
    EXPECT_EQ(rig_captures(), 1u);
    EXPECT_EQ(HighByte(pins) & kNoFlag, kNoFlag) << "a flag clears itself";
}

TEST_F(Wiring, FaultOfAWireThatAKindHasNotIsNone) {
    Load("[lpt]\n[wiring]\ndark = 'swapped with dark_back'");
    EXPECT_EQ(rig_level(RIG_DARK), 0);
}

} // namespace
} // namespace test
