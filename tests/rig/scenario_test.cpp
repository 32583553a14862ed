#include <filesystem>

#include "bench_rig.h"

namespace test {
namespace {

using ScenarioTest = BenchRig;

struct Mistake {
    std::string toml;
    std::string error;
};

const std::vector<Mistake> kMistakes = {
    // Not TOML.
    {"[camera", "line 1: "},
    {"\n\nasleep = ", "line 3: "},
    {"a = 1\na = 2", "line 2: "},
    {"\n[=]\n[camera]\nasleep = 1", "line 2: not TOML"},
    {"[camera]\n[[[[", "line 2: not TOML"},

    // Characters that are allowed in comments only.
    {"\nserial = 'M\xc3\xbcller'", "line 2: only comments can have characters beyond ASCII"},
    {"\"#\xff\" = 1", "line 1: only comments can have characters beyond ASCII"},
    {"a = \"\\\"#\xff\"", "line 1: only comments can have characters beyond ASCII"},
    {"a = '#\xff'", "line 1: only comments can have characters beyond ASCII"},
    {"a = '''it's #\xff'''", "line 1: only comments can have characters beyond ASCII"},
    {"a = \"\"\"\n\"\n#\xff\"\"\"", "line 3: only comments can have characters beyond ASCII"},
    {"# fine\n\xd2\x81", "line 2: only comments can have characters beyond ASCII"},

    // Unknown keys in each table.
    {"colour = 1", "line 1: unknown key 'colour' in the scenario"},
    {"[camera]\nasleep = true\ncolour = 1", "line 3: unknown key 'colour' in [camera]"},
    {"[pulls]\nready = 1", "line 2: unknown key 'ready' in [pulls]"},
    {"[wiring]\ncolour = 'red'", "line 2: unknown key 'colour' in [wiring]"},
    {"[wiring]\nmep = 'shorted to mep'", "line 2: 'mep' needs another wire"},
    {"[wiring]\nmep = 'loose'", "line 2: 'mep' must be one of 'broken', 'stuck at 0',"},
    {kOneChip + "colour = 1", "line 4: unknown key 'colour' in [[usb]]"},
    {"[[usb]]\nchip = 'FT232R'\nletters = 'AB'", "line 3: unknown key 'letters' in [[usb]]"},
    {"[eapi]\ncolour = 1", "line 2: unknown key 'colour' in [eapi]"},
    {"[superio]\ncolour = 1", "line 2: unknown key 'colour' in [superio]"},
    {"[lpt]\ncolour = 1", "line 2: unknown key 'colour' in [lpt]"},
    {"[inpout]\ncolour = 1", "line 2: unknown key 'colour' in [inpout]"},
    {"[[fault]]\nfunction = 'FT_Open'\nstatus = 1\ncolour = 1",
     "line 4: unknown key 'colour' in [[fault]]"},
    {"[[event]]\nat_ms = 1\naction = 'ready'\ncolour = 1",
     "line 4: unknown key 'colour' in [[event]]"},
    {"[[event]]\nat_ms = 1\ncall = 1\naction = 'ready'", "line 3: unknown key 'call' in [[event]]"},
    {kOneChip + "[[event]]\nat_ms = 1\naction = 'ready'\nchip = 0",
     "line 7: unknown key 'chip' in [[event]]"},

    // Wrong types.
    {"camera = 1", "line 1: 'camera' must be a table"},
    {"[usb]\nchip = 'FT2232H'", "line 1: 'usb' must be an array of tables: [[usb]]"},
    {"usb = [1]", "line 1: 'usb' must hold tables only"},
    {"[camera]\nasleep = 1", "line 2: 'asleep' must be true or false"},
    {kOneChip + "open_elsewhere = 1", "line 4: 'open_elsewhere' must be true or false"},
    {kOneChip + "named_after_ms = 'soon'",
     "line 4: 'named_after_ms' must be a whole number from 0"},
    {kOneChip + "opens_after_ms = true", "line 4: 'opens_after_ms' must be a whole number from 0"},
    {"[camera]\nready = 'yes'", "line 2: 'ready' must be true or false"},
    {"[camera]\nexposure_ms = 1.5",
     "line 2: 'exposure_ms' must be a whole number from 0 to 86400000"},
    {"[camera]\nmep = true", "line 2: 'mep' must be a text of printable ASCII characters"},
    {"[[usb]]\nchip = 'FT2232H'\nserial = 1",
     "line 3: 'serial' must be a text of printable ASCII characters"},
    {"[[usb]]\nchip = 'FT2232H'\nserial = \"a\\u0000b\"",
     "line 3: 'serial' must be a text of printable ASCII characters"},
    {"[camera]\nexposure_ms = 1979-05-27", "line 2: 'exposure_ms' must be a whole number"},

    {"eapi = true", "line 1: 'eapi' must be a table"},
    {"[inpout]\ndriver_open = 1", "line 2: 'driver_open' must be true or false"},
    {"[lpt]\npresence_wire = 1", "line 2: 'presence_wire' must be true or false"},
    {"[lpt]\npower_wire = 1", "line 2: 'power_wire' must be true or false"},

    // Out of range.
    {"[eapi]\ngpios = 33", "line 2: 'gpios' must be a whole number from 0 to 32"},
    {"[superio]\nid = 65536", "line 2: 'id' must be a whole number from 0 to 65535"},
    {"[superio]\nactive_banks = 256",
     "line 2: 'active_banks' must be a whole number from 0 to 255"},
    {"[superio]\ndata = -1", "line 2: 'data' must be a whole number from 0 to 255"},
    {"[lpt]\nbase = 65536", "line 2: 'base' must be a whole number from 0 to 65535"},
    {"[camera]\nexposure_ms = -1",
     "line 2: 'exposure_ms' must be a whole number from 0 to 86400000"},
    {"[camera]\nready_after_power_ms = 86400001", "line 2: 'ready_after_power_ms' must be"},
    {"[camera]\nmep = 'maybe'", "line 2: 'mep' must be one of 'latch', 'never', 'stuck'"},
    {"[pulls]\ndark = 2", "line 2: 'dark' must be a whole number from 0 to 1"},
    {"[[usb]]\nchip = 'FT232B'",
     "line 2: 'chip' must be one of 'FT2232H', 'FT232R', 'FT2232D', 'FT4232H', 'FT232H'"},
    {"[[usb]]\nchip = 'FT2232H'\nletters = 'A'", "line 3: 'letters' must be two characters"},
    {"[[usb]]\nchip = 'FT2232H'\nreset_port_ms = -2", "line 3: 'reset_port_ms' must be"},
    {"[[fault]]\nfunction = 'FT_Open'\nstatus = -1", "line 3: 'status' must be"},
    {"[[fault]]\nfunction = 'FT_Open'\nstatus = 4294967296", "line 3: 'status' must be"},
    {"[[fault]]\nfunction = 'FT_Open'\nstatus = 1\ncall = 0", "line 4: 'call' must be"},
    {kOneChip + "named_after_ms = -1", "line 4: 'named_after_ms' must be"},
    {kOneChip + "opens_after_ms = 86400001", "line 4: 'opens_after_ms' must be"},
    {"[[event]]\nat_ms = -1\naction = 'ready'", "line 2: 'at_ms' must be"},
    {"[[event]]\nat_ms = 1\naction = 'sleep -1'", "line 3: '-1' is no"},
    {"[[event]]\nat_ms = 1\naction = 'sleep 1 2'", "line 3: usage: sleep [MS]"},
    {"[[event]]\nat_ms = 1\naction = 'explode'",
     "line 3: 'explode' is no action; there are unplug, plug, ready, mep, "},

    // Keys that need or exclude each other.
    {"\n[[usb]]\nserial = 'X'", "line 2: [[usb]] needs 'chip'"},
    {"[[usb]]\nchip = 'FT232R'\ncamera = true", "line 3: only one FT2232H can carry the camera"},
    {kOneChip + "camera = true\n" + kOneChip + "camera = true",
     "line 8: only one FT2232H can carry the camera"},
    {"[[fault]]\nfunction = 'FT_Nothing'\nstatus = 1",
     "line 2: function must name a vendor function or be '*'"},
    {"[[fault]]\nstatus = 1", "line 1: function must name a vendor function or be '*'"},
    {"[[fault]]\nfunction = 'FT_Open'",
     "line 1: [[fault]] needs 'status', 'count' or both, or 'silent = true'"},
    {"[[fault]]\nfunction = 'FT_Open'\nstatus = 1\nsilent = true",
     "line 4: [[fault]] needs 'status'"},
    {"[[event]]\naction = 'ready'", "line 1: [[event]] needs either 'at_ms' or 'before'"},
    {"[[event]]\nat_ms = 1\nbefore = '*'\naction = 'ready'",
     "line 3: [[event]] needs either 'at_ms' or 'before'"},
    {"[[event]]\nbefore = 'FT_Nothing'\naction = 'ready'", "line 2: before must name"},
    {"[[event]]\nat_ms = 1", "line 1: [[event]] needs 'action'"},
    {"[[event]]\nat_ms = 1\naction = 'plug'", "line 3: there is no chip 0; there are none"},
    {kOneChip + "[[event]]\nat_ms = 1\naction = 'plug'\nchip = 1", "line 7: there is no chip 1"},
    {"[[event]]\nat_ms = 1\naction = 'open-driver 1'", "line 3: usage: open-driver"},
};

TEST_F(ScenarioTest, SaysWhatIsWrongAndWhere) {
    for (const Mistake& mistake : kMistakes) {
        EXPECT_EQ(rig_load(mistake.toml.c_str()), -1) << mistake.toml;
        const std::string error = rig_error();
        EXPECT_EQ(error.substr(0, mistake.error.size()), mistake.error) << mistake.toml;
        EXPECT_GT(error.size(), std::string("line 1: ").size()) << mistake.toml;
    }
}

TEST_F(ScenarioTest, ChangesNothingWhenItIsWrong) {
    FT_HANDLE pins = OpenPins();
    Advance(5);
    EXPECT_EQ(rig_load("[camera]\nasleep = 1"), -1);
    EXPECT_EQ(HighByte(pins), 0xf0);
    EXPECT_EQ(rig_calls("FT_Open"), 1U);
    EXPECT_EQ(Milliseconds(), 5U);
    EXPECT_EQ(rig_load(kOneChip.c_str()), 0);
    EXPECT_STREQ(rig_error(), "");
}

TEST_F(ScenarioTest, HasCommentsInAnyLanguage) {
    Load("\xef\xbb\xbf# it's \"here\": \xd2\x81\xe2\x80\xa8 \xff\n[[usb]]\n"
         "chip = 'FT2232H' # M\xc3\xbcller\nserial = \"a#\\\"b\" # \xc3\xbc\n");
    EXPECT_STREQ(Devices().at(1).SerialNumber, "a#\"bB");
    Load("[[usb]]\nchip = 'FT2232H'\nserial = '''it's''' # \xc3\xbc\n");
    EXPECT_STREQ(Devices().at(1).SerialNumber, "it'sB");
    Load("[[usb]]\nchip = 'FT2232H'\nserial = \"\"\"\"a\\\"\"\"\"\" # \xc3\xbc\n");
    EXPECT_STREQ(Devices().at(1).SerialNumber, "\"a\"\"B");
}

TEST_F(ScenarioTest, RefusesWhatNestsDeeply) {
    EXPECT_EQ(rig_load(("x = " + std::string(100'000, '[')).c_str()), -1);
    EXPECT_EQ(std::string(rig_error()).substr(0, 8), "line 1: ");
    std::string dots = "a";
    for (int i = 0; i < 100'000; ++i) {
        dots += ".a";
    }
    EXPECT_EQ(rig_load(("\n[" + dots + "]\n").c_str()), -1);
    EXPECT_STREQ(rig_error(), "line 2: too many dots");
    EXPECT_EQ(rig_load((dots + " = 1").c_str()), -1);
}

TEST_F(ScenarioTest, SurvivesEveryMutilation) {
    const std::string whole = ReadText(SCENARIO_DIRECTORY "/unplug_during_trigger.toml") +
                              "[camera]\nmep = \"never\"\nexposure_ms = 1_000\n";
    int good = 0;
    for (std::size_t i = 0; i < whole.size(); ++i) {
        std::string changed = whole;
        for (const char c : {'\0', '\n', '"', '[', '=', '\x80', '9'}) {
            changed[i] = c;
            good += rig_load(changed.c_str()) == 0 ? 1 : 0;
        }
        good += rig_load(whole.substr(0, i).c_str()) == 0 ? 1 : 0;
    }
    EXPECT_GT(good, 0);
}

TEST_F(ScenarioTest, AWrongFileIsNamed) {
    EXPECT_EQ(rig_load_file("no_such_file.toml"), -1);
    EXPECT_STREQ(rig_error(), "no_such_file.toml: cannot be read");
    EXPECT_EQ(rig_load_file("."), -1);
    EXPECT_STREQ(rig_error(), ".: cannot be read");
    EXPECT_EQ(rig_load_file(nullptr), -1);
}

TEST_F(ScenarioTest, HasAName) {
    const std::string file = SCENARIO_DIRECTORY "/usb.toml";
    EXPECT_EQ(rig_load_file(file.c_str()), 0);
    EXPECT_EQ(rig_scenario(), file);
    EXPECT_EQ(rig_load_file("no_such_file.toml"), -1);
    EXPECT_EQ(rig_scenario(), file) << "nothing has changed";
    EXPECT_EQ(rig_load(""), 0);
    EXPECT_STREQ(rig_scenario(), "given as text");
    EXPECT_EQ(rig_load(nullptr), 0);
    EXPECT_STREQ(rig_scenario(), "default");
}

class Example : public BenchRig {
  protected:
    static void LoadExample(const std::string& name) {
        ASSERT_EQ(rig_load_file((SCENARIO_DIRECTORY "/" + name).c_str()), 0) << rig_error();
    }
};

TEST_F(Example, EveryOneLoads) {
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(SCENARIO_DIRECTORY)) {
        EXPECT_EQ(rig_load_file(entry.path().c_str()), 0) << rig_error();
        ++count;
    }
    EXPECT_GE(count, 5);
}

TEST_F(Example, Usb) {
    LoadExample("usb.toml");
    ASSERT_EQ(Devices().size(), 3U);
    EXPECT_EQ(Devices()[0].Type, 5U);
    FT_HANDLE pins = OpenPins(2);
    EXPECT_EQ(HighByte(pins), 0xf0);
}

TEST_F(Example, NotReady) {
    LoadExample("not_ready.toml");
    EXPECT_EQ(rig_level(RIG_READY), 0);
    Advance(3'000);
    EXPECT_EQ(rig_level(RIG_READY), 1);
}

TEST_F(Example, MepLatched) {
    LoadExample("mep_latched.toml");
    EXPECT_EQ(rig_level(RIG_MEP), 1);
    FT_HANDLE pins = OpenPins();
    Drive(pins, 0);
    Drive(pins, kRest);
    EXPECT_EQ(rig_level(RIG_MEP), 0);
}

TEST_F(Example, SlowCamera) {
    LoadExample("slow_camera.toml");
    FT_HANDLE pins = OpenPins();
    Drive(pins, kRest | kTrigger);
    Advance(399);
    EXPECT_EQ(rig_level(RIG_READY), 0);
    Advance(1);
    EXPECT_EQ(rig_level(RIG_READY), 1);
}

TEST_F(Example, WakeWithDarkOn) {
    LoadExample("wake_with_dark_on.toml");
    EXPECT_EQ(rig_level(RIG_DARK), 1);
    FT_HANDLE pins = OpenPins();
    Drive(pins, kRest | kDark);
    EXPECT_EQ(rig_level(RIG_READY), 0) << "dark was on already";
    Drive(pins, kRest);
    EXPECT_EQ(rig_level(RIG_READY), 1);
}

TEST_F(Example, UnplugDuringTrigger) {
    LoadExample("unplug_during_trigger.toml");
    FT_HANDLE pins = OpenPins();
    Write(pins, {0x83});
    Drive(pins, kRest);
    Write(pins, {0x81});
    Write(pins, {0x83});
    Write(pins, {0x83});
    Drive(pins, kRest | kTrigger);
    EXPECT_EQ(rig_level(RIG_TRIGGER), 1);
    EXPECT_EQ(Write(pins, {0x82, kRest, kOutputs}), kIoError);
    EXPECT_EQ(rig_level(RIG_TRIGGER), 0) << "the chip has left";
    EXPECT_EQ(rig_captures(), 1U);
    Advance(1'000);
    EXPECT_EQ(Devices().size(), 2U);
}

TEST_F(Example, NoHardware) {
    LoadExample("no_hardware.toml");
    EXPECT_TRUE(Devices().empty());
}

} // namespace
} // namespace test
