#include "commands.h"

#include <algorithm>

#include <nlohmann/json.hpp>

#include "bench_rig.h"
#include "eapi.h"
#include "rig_clock.h"

namespace test {
namespace {

using nlohmann::json;
using rig::Perform;
using rig::Reply;

class CommandsTest : public BenchRig {
  protected:
    /// Performs a command that must succeed; its answer.
    static std::string Said(const Lines& words) {
        const Reply reply = Perform(words, false);
        EXPECT_EQ(reply.exitCode, 0) << reply.text;
        return reply.text;
    }

    static json Json(const Lines& words, int exitCode = 0) {
        const Reply reply = Perform(words, true);
        EXPECT_EQ(reply.exitCode, exitCode) << reply.text;
        EXPECT_EQ(reply.text.find('\n'), std::string::npos) << reply.text;
        return json::parse(reply.text);
    }
};

TEST_F(CommandsTest, PullThePlugAndPutItBack) {
    EXPECT_EQ(Said({"unplug", "0"}), "unplug 0");
    EXPECT_TRUE(Devices().empty());
    Take(RIG_EVENT);
    EXPECT_EQ(Said({"plug"}), "plug 0");
    EXPECT_EQ(Devices().size(), 2U);
    EXPECT_EQ(Take(RIG_EVENT), Lines{"plug 0"});
}

TEST_F(CommandsTest, AreInTheJournalEvenIfTheyChangeNothing) {
    Said({"plug", "0"});
    Said({"ready", "on"});
    Said({"lift"});
    EXPECT_EQ(TakeAll(), (Lines{"plug 0", "ready on", "lift"}));
}

TEST_F(CommandsTest, MoveTheCamera) {
    Said({"ready", "off"});
    EXPECT_EQ(rig_level(RIG_READY), 0);
    Said({"ready", "on"});
    EXPECT_EQ(rig_level(RIG_READY), 1);
    Said({"mep", "latch"});
    EXPECT_EQ(rig_level(RIG_MEP), 1);
    EXPECT_EQ(TakeAll(),
              (Lines{"ready off", "ready 0", "ready on", "ready 1", "mep latch", "mep 1"}));
}

TEST_F(CommandsTest, SetHowTheCameraBehaves) {
    FT_HANDLE pins = OpenPins();
    const auto msUntilReady = [&] {
        Drive(pins, kRest | kTrigger);
        Drive(pins, kRest);
        std::uint64_t passed = 0;
        for (; rig_level(RIG_READY) == 0 && passed < 1000; ++passed) {
            Advance(1);
        }
        return passed;
    };
    Said({"set", "exposure_ms", "80"});
    EXPECT_EQ(msUntilReady(), 80U);
    EXPECT_EQ(rig_level(RIG_MEP), 1);
    Drive(pins, 0);
    Drive(pins, kRest);
    EXPECT_EQ(rig_level(RIG_MEP), 0);
    Said({"set", "mep", "never"});
    msUntilReady();
    EXPECT_EQ(rig_level(RIG_MEP), 0);
    Said({"set", "mep", "stuck"});
    msUntilReady();
    Drive(pins, 0);
    EXPECT_EQ(rig_level(RIG_MEP), 1);
    Drive(pins, kRest);
    Said({"set", "ready_after_power_ms", "7"});
    Drive(pins, kRest | kCameraOff);
    Drive(pins, kRest);
    Advance(6);
    EXPECT_EQ(rig_level(RIG_READY), 0);
    Advance(1);
    EXPECT_EQ(rig_level(RIG_READY), 1);
    Said({"set", "asleep", "true"});
    EXPECT_EQ(rig_level(RIG_READY), 0);
    Drive(pins, kRest | kDark);
    EXPECT_EQ(rig_level(RIG_READY), 1) << "a change of the dark line wakes it";
    Said({"set", "asleep", "false"});
    EXPECT_EQ(rig_level(RIG_READY), 1);
}

TEST_F(CommandsTest, MakeTheNextCallsFailOrACertainOne) {
    FT_HANDLE pins = OpenPins();
    FT_ResetDevice(pins);
    Said({"fault", "FT_ResetDevice", "status=4"});
    EXPECT_EQ(FT_ResetDevice(pins), kIoError);
    EXPECT_EQ(FT_ResetDevice(pins), FT_OK);
    Said({"fault", "FT_ResetDevice", "status=0x12", "call=5", "times=2"});
    EXPECT_EQ(FT_ResetDevice(pins), FT_OK);
    EXPECT_EQ(FT_ResetDevice(pins), 18U);
    EXPECT_EQ(FT_ResetDevice(pins), 18U);
    EXPECT_EQ(FT_ResetDevice(pins), FT_OK);
    Said({"fault", "FT_GetQueueStatus", "count=7", "times=0"});
    Said({"fault", "FT_ResetDevice", "status=4", "times=0"});
    EXPECT_EQ(QueueLength(pins), 7U);
    EXPECT_EQ(QueueLength(pins), 7U);
    Said({"lift", "FT_GetQueueStatus"});
    EXPECT_EQ(QueueLength(pins), 0U);
    EXPECT_EQ(FT_ResetDevice(pins), kIoError) << "of another function";
    Said({"lift"});
    EXPECT_EQ(FT_ResetDevice(pins), FT_OK);
    Said({"fault", "*", "silent"});
    EXPECT_EQ(Open(0), nullptr);
}

TEST_F(CommandsTest, BreakAndMendAWireThatIsInUse) {
    FT_HANDLE pins = OpenPins();
    Drive(pins, kRest | kDark);
    Take(RIG_EDGE);
    Said({"wire", "dark", "broken"});
    EXPECT_EQ(TakeAll(), (Lines{"wire dark broken", "dark 0"})) << "its pull";
    Drive(pins, kRest);
    Drive(pins, kRest | kDark);
    EXPECT_EQ(rig_level(RIG_DARK), 0);
    Take(RIG_EDGE);
    Said({"wire", "dark", "healthy"});
    EXPECT_EQ(TakeAll(), (Lines{"wire dark healthy", "dark 1"})) << "what the chip drives";
    Said({"wire", "dark", "stuck at 0"});
    EXPECT_EQ(rig_level(RIG_DARK), 0);
    Said({"wire", "dark", "stuck", "at", "1"});
    EXPECT_EQ(rig_level(RIG_DARK), 1);
    Said({"wire", "dark", "inverted"});
    EXPECT_EQ(rig_level(RIG_DARK), 0);
    Said({"wire", "trigger", "swapped with dark"});
    EXPECT_EQ(rig_level(RIG_DARK), 0);
    EXPECT_EQ(rig_level(RIG_TRIGGER), 1) << "dark was given, and the other fault is gone";
    EXPECT_EQ(rig_captures(), 1U);
    Said({"wire", "dark", "healthy"});
    EXPECT_EQ(rig_level(RIG_DARK), 1) << "mending one end mends both";
    EXPECT_EQ(rig_level(RIG_TRIGGER), 0);
    Said({"wire", "trigger", "shorted to dark"});
    EXPECT_EQ(rig_level(RIG_DARK), 0) << "the low one wins";
    Said({"wire", "trigger", "healthy"});
    EXPECT_EQ(rig_level(RIG_DARK), 1);
    Said({"wire", "ready", "stuck at 0"});
    EXPECT_EQ(HighByte(pins) & 0x10, 0);
    EXPECT_EQ(rig_level(RIG_READY), 0) << "busy after the capture";
    Advance(25);
    EXPECT_EQ(rig_level(RIG_READY), 1);
    EXPECT_EQ(HighByte(pins) & 0x10, 0);
    Said({"wire", "ready", "healthy"});
    EXPECT_EQ(HighByte(pins) & 0x10, 0x10);
}

TEST_F(CommandsTest, AMendedWireIsLikeOneThatNeverWasBroken) {
    for (const std::string wire :
         {"trigger", "ready", "mep", "clear_mep", "dark", "camera_power", "accessories_power",
          "dark_back", "camera_power_back", "accessories_power_back"}) {
        for (const std::string condition : {"broken", "stuck at 0", "stuck at 1", "inverted"}) {
            Load(kOneChip + "[eapi]\n");
            FT_HANDLE pins = OpenPins();
            Drive(pins, kRest | kDark | kCameraOff);
            EApiLibInitialize();
            EApiGPIOSetDirection(0, 1, 0);
            EApiGPIOSetLevel(0, 1, 1); // the board has the trigger, the chip the other lines
            const json before = Json({"levels"});
            const int low = LowByte(pins);
            const int high = HighByte(pins);
            Said({"wire", wire, condition});
            Said({"wire", wire, "healthy"});
            if (wire == "camera_power") {
                Advance(1000);
            }
            EXPECT_EQ(Json({"levels"}), before) << wire << ' ' << condition;
            EXPECT_EQ(LowByte(pins), low) << wire << ' ' << condition;
            EXPECT_EQ(HighByte(pins), high) << wire << ' ' << condition;
        }
    }
}

TEST_F(CommandsTest, ForceALine) {
    Said({"force", "ready", "0"});
    EXPECT_EQ(rig_level(RIG_READY), 0);
    Said({"ready", "on"});
    EXPECT_EQ(rig_level(RIG_READY), 0);
    Said({"force", "ready", "free"});
    EXPECT_EQ(rig_level(RIG_READY), 1);
    Said({"force", "mep", "1"});
    EXPECT_EQ(rig_level(RIG_MEP), 1);
}

TEST_F(CommandsTest, WriteANoteOfAnyText) {
    Said({"note", "pull", "it  now"});
    Said({"note", "a\nb\x01\xff\xc3\xa9\xed\xa0\x80"});
    EXPECT_EQ(Take(RIG_NOTE), (Lines{"pull it  now", "a b ?\xc3\xa9???"}));
}

TEST_F(CommandsTest, ReplaceTheHardware) {
    FT_HANDLE pins = OpenPins();
    Drive(pins, kRest | kDark);
    FT_ResetDevice(pins);
    const std::uint32_t calls = rig_calls("*");
    Advance(10);
    TakeAll();
    Said({"scenario", "two chips.toml",
          kOneChip + kOneChip +
              "[pulls]\naccessories_power = 0\n"
              "[[fault]]\nfunction = 'FT_ResetDevice'\nstatus = 5\n"
              "[[event]]\nat_ms = 5\naction = 'ready off'\n"});
    EXPECT_EQ(TakeAll(), (Lines{"scenario two chips.toml", "dark 0", "accessories_power 0"}));
    EXPECT_EQ(rig_time(), 10'000'000U) << "time, counts and journal go on";
    EXPECT_EQ(rig_calls("*"), calls);
    EXPECT_STREQ(rig_scenario(), "two chips.toml");
    EXPECT_EQ(FT_Close(pins), kInvalidHandle) << "a handle of the old hardware";
    EXPECT_EQ(Devices().size(), 4U);
    FT_HANDLE handle = Open(0);
    EXPECT_EQ(FT_ResetDevice(handle), 5U) << "the first call of the new hardware";
    EXPECT_EQ(FT_ResetDevice(handle), FT_OK);
    EXPECT_EQ(rig_level(RIG_READY), 1);
    Advance(5);
    EXPECT_EQ(rig_level(RIG_READY), 0) << "events count from now";
    Said({"unplug", "1"});

    const Reply reply = Perform({"scenario", "bad.toml", "[camera]\ncolour = 1"}, false);
    EXPECT_EQ(reply.exitCode, 2);
    EXPECT_EQ(reply.text, "bad.toml: line 2: unknown key 'colour' in [camera]; there are asleep, "
                          "exposure_ms, mep, mep_latched, ready, ready_after_power_ms");
    EXPECT_EQ(rig_calls("FT_Open"), 2U) << "nothing has changed";
}

TEST_F(CommandsTest, TellTheLevels) {
    EXPECT_EQ(Said({"levels"}), "trigger            0\nready              1\n"
                                "mep                0\nclear_mep          0\n"
                                "dark               0\ncamera_power       1\n"
                                "accessories_power  1");
    EXPECT_EQ(Json({"levels"}), (json{{"trigger", 0},
                                      {"ready", 1},
                                      {"mep", 0},
                                      {"clear_mep", 0},
                                      {"dark", 0},
                                      {"camera_power", 1},
                                      {"accessories_power", 1}}));
}

TEST_F(CommandsTest, CountCapturesAndCalls) {
    FT_HANDLE pins = OpenPins();
    Drive(pins, kRest | kTrigger);
    EXPECT_EQ(Said({"captures"}), "1");
    EXPECT_EQ(Json({"captures"}), (json{{"captures", 1}}));
    EXPECT_EQ(Said({"calls", "FT_Write"}), "FT_Write           1");
    EXPECT_EQ(Said({"calls", "FT_Read"}), "FT_Read            0");
    EXPECT_EQ(Json({"calls"}), (json{{"calls",
                                      {{"*", 4},
                                       {"FT_Open", 1},
                                       {"FT_SetBitMode", 1},
                                       {"FT_SetLatencyTimer", 1},
                                       {"FT_Write", 1}}}}));
}

TEST_F(CommandsTest, TellWhatHappenedSinceTheLastLook) {
    const std::uint64_t start = Perform({"journal"}, false).next;
    rig_note("quote \" and \x02 and \xff");
    Advance(12);
    Open(0);
    const Reply first = Perform({"journal", "--since", std::to_string(start)}, false);
    EXPECT_EQ(first.text, "       0.000000 note  quote \" and \x02 and \xff\n"
                          "      12.000000 call  FT_Open(0) -> 0");
    EXPECT_EQ(first.next, start + 2);
    EXPECT_EQ(Perform({"journal", "--since", std::to_string(first.next)}, false).text, "");
    EXPECT_EQ(Json({"journal", "--since", std::to_string(start)}),
              (json{{"ns", 12'000'000},
                    {"first", start},
                    {"next", start + 2},
                    {"entries",
                     {{{"n", start},
                       {"ns", 0},
                       {"time_ms", 0},
                       {"kind", "note"},
                       {"text", "quote \" and \x02 and ?"}},
                      {{"n", start + 1},
                       {"ns", 12'000'000},
                       {"time_ms", 12},
                       {"kind", "call"},
                       {"text", "FT_Open(0) -> 0"}}}}}));
    const Reply one = Perform({"journal", "--since", std::to_string(start), "--most", "1"}, false);
    EXPECT_EQ(one.text, first.text.substr(0, first.text.find('\n')));
    EXPECT_EQ(one.next, start + 1);
    EXPECT_EQ(Perform({"journal", "--since", "99999999"}, false).next, start + 2);
    rig_journal_clear();
    EXPECT_EQ(Perform({"journal"}, false).next, start + 2) << "numbers are not given again";
    rig_note("again");
    EXPECT_EQ(Perform({"journal", "--since", "0"}, false).text, "      12.000000 note  again");
}

TEST_F(CommandsTest, TellHowFarTheRigHasCome) {
    Said({"fault", "FT_Open", "status=4", "call=9"});
    Advance(1);
    Open(0);
    EXPECT_EQ(Said({"status"}), "scenario           given as text\ntime               1 ms\n"
                                "calls              1\ncaptures           0\n"
                                "faults planned     1");
    EXPECT_EQ(Json({"status"}), (json{{"scenario", "given as text"},
                                      {"time_ms", 1},
                                      {"calls", 1},
                                      {"captures", 0},
                                      {"faults", 1}}));
}

TEST_F(CommandsTest, HelpNamesEachOfThem) {
    const json commands = Json({"help"})["commands"];
    const std::string text = Said({"help"});
    for (const json& command : commands) {
        const auto name = command["command"].get<std::string>();
        EXPECT_EQ(text.find("usage"), std::string::npos);
        const std::string about = Said({"help", name});
        EXPECT_EQ(about.substr(0, name.size()), name);
        EXPECT_EQ(std::ranges::count(about, '\n'), 1) << "its usage and what it is for";
        EXPECT_NE(text.find(about), std::string::npos) << name;
        // no command except note accepts all of these
        const Reply reply = Perform({name, "--colour", "red", "1", "2", "3"}, false);
        EXPECT_EQ(reply.exitCode, name == "note" ? 0 : 2) << name << ": " << reply.text;
    }
    EXPECT_EQ(commands.size(), 24U);
    EXPECT_EQ(Json({"help", "captures"}),
              (json{{"commands",
                     {{{"command", "captures"},
                       {"arguments", ""},
                       {"meaning", "how many captures the camera has made"}}}}}));
}

TEST_F(CommandsTest, WaitForAnEdge) {
    FT_HANDLE pins = OpenPins();
    Drive(pins, kRest | kTrigger);
    Drive(pins, kRest);
    EXPECT_EQ(Said({"wait-edge", "ready 1", "--within", "5000"}), "ready 1 at 25 ms");
    EXPECT_EQ(Milliseconds(), 25U) << "no longer than it takes";
    const Reply none = Perform({"wait-edge", "ready", "1", "--within", "40.5"}, false);
    EXPECT_EQ(none.exitCode, 1);
    EXPECT_EQ(none.text, "no edge ready 1 within 40.5 ms") << "those before do not count";
    EXPECT_EQ(rig_time(), 65'500'000U);
    Drive(pins, kRest | kTrigger);
    EXPECT_EQ(Json({"wait-edge", "ready 1"}), (json{{"edge", "ready 1"}, {"time_ms", 90.5}}));
    EXPECT_EQ(Json({"wait-edge", "ready 1", "--within", "1"}, 1),
              (json{{"edge", "ready 1"}, {"error", "no edge ready 1 within 1 ms"}}));
}

TEST_F(CommandsTest, ExpectAPulseOfSomeWidth) {
    const std::string scenario = kOneChip + "[pulls]\ncamera_power = 0\n"
                                            "[[event]]\nat_ms = 5\naction = 'force ready 1'\n"
                                            "[[event]]\nat_ms = 15\naction = 'force ready 0'\n";
    Load(scenario);
    EXPECT_EQ(Said({"expect-pulse", "ready", "9..13", "--within", "2000"}), "ready 1 for 10 ms");
    EXPECT_EQ(Milliseconds(), 15U);
    Load(scenario);
    EXPECT_EQ(Json({"expect-pulse", "ready", "10..10"}), (json{{"line", "ready"},
                                                               {"expected", "10..10 ms"},
                                                               {"as_expected", true},
                                                               {"width_ms", 10},
                                                               {"time_ms", 5}}));
    Load(scenario);
    EXPECT_EQ(Json({"expect-pulse", "ready", "10.5..13"}, 1),
              (json{{"line", "ready"},
                    {"expected", "10.5..13 ms"},
                    {"as_expected", false},
                    {"width_ms", 10},
                    {"time_ms", 5},
                    {"error", "ready 1 for 10 ms, not 10.5..13 ms"}}));
    Load(scenario);
    EXPECT_EQ(Perform({"expect-pulse", "ready", "1..9.9"}, false).text,
              "ready 1 for 10 ms, not 1..9.9 ms");
    Load(scenario);
    Reply reply = Perform({"expect-pulse", "ready", "9..13", "--within", "12"}, false);
    EXPECT_EQ(reply.exitCode, 1);
    EXPECT_EQ(reply.text, "ready is still 1 after 7 ms");
    reply = Perform({"expect-pulse", "ready", "9..13", "--within", "12"}, false);
    EXPECT_EQ(reply.text, "no pulse of ready within 12 ms") << "one that had begun before";
}

TEST_F(CommandsTest, SeeWhatHasHappenedSinceAnEntryOfTheJournal) {
    FT_HANDLE pins = OpenPins();
    Drive(pins, kRest | kTrigger);
    const std::string mark = std::to_string(Perform({"journal"}, false).next);
    Drive(pins, kRest);
    Drive(pins, kRest | kTrigger);
    host::Advance(3'000'000);
    Drive(pins, kRest);
    EXPECT_EQ(Said({"wait-edge", "trigger 0", "--since", mark}), "trigger 0 at 0 ms");
    EXPECT_EQ(Said({"expect-pulse", "trigger", "3..3", "--since", mark}), "trigger 1 for 3 ms");
    EXPECT_EQ(Milliseconds(), 3U) << "without waiting";
    EXPECT_EQ(Said({"wait-edge", "ready 1", "--since", mark}), "ready 1 at 25 ms")
        << "what is yet to come counts too";
    EXPECT_EQ(Perform({"wait-edge", "ready 0", "--since", mark, "--within", "1"}, false).exitCode,
              1)
        << "it came before the mark";
}

TEST_F(CommandsTest, FollowTheJournal) {
    Load(kOneChip + "[[event]]\nat_ms = 30\naction = 'note late'\n");
    const std::uint64_t start = Perform({"journal"}, false).next;
    const Reply reply =
        Perform({"journal", "--since", std::to_string(start), "--within", "100"}, false);
    EXPECT_EQ(reply.text, "      30.000000 note  late");
    EXPECT_EQ(
        Perform({"journal", "--since", std::to_string(reply.next), "--within", "100"}, false).text,
        "");
    EXPECT_EQ(Milliseconds(), 130U);
}

TEST_F(CommandsTest, StopWaitingWhenNobodyWantsToKnowAnyMore) {
    const std::uint64_t end = rig::clock::Now() + 1'000'000'000; // 1 s
    const rig::IsUnwanted isUnwanted = [end] { return rig::clock::Now() >= end; };
    EXPECT_EQ(Perform({"wait-edge", "ready 0"}, false, isUnwanted).exitCode, 1);
    EXPECT_GE(Milliseconds(), 1000U);
    EXPECT_LT(Milliseconds(), 2000U) << "it looks often enough";
}

TEST_F(CommandsTest, TellWhatThereIsForWordsThatAreWrong) {
    const std::vector<std::pair<Lines, std::string>> mistakes = {
        {{},
         "'' is no command; there are unplug, plug, ready, mep, open-driver, sleep, set, wire, "
         "force, fault, lift, "
         "note, scenario, levels, captures, calls, journal, status, state, vcd, keep, wait-edge, "
         "expect-pulse, "
         "help"},
        {{"unplg"}, "'unplg' is no command; there are unplug, plug, "},
        {{"unplug", "1"}, "there is no chip 1; there is 0"},
        {{"unplug", "-1"}, "there is no chip -1; there is 0"},
        {{"plug", "x"}, "there is no chip x; there is 0"},
        {{"unplug", "0", "1"}, "usage: unplug [CHIP]"},
        {{"ready", "maybe"}, "'maybe' must be one of on, off"},
        {{"mep"}, "usage: mep latch"},
        {{"mep", "clear"}, "'clear' must be one of latch"},
        {{"set", "exposure_ms"}, "usage: set KEY VALUE"},
        {{"set", "exposure", "1"},
         "unknown key 'exposure' in set; there are asleep, exposure_ms, mep, ready_after_power_ms"},
        {{"set", "exposure_ms", "-1"}, "'exposure_ms' must be a whole number from 0 to 86400000"},
        {{"set", "mep", "always"}, "'mep' must be one of 'latch', 'never', 'stuck'"},
        {{"wire", "trigger"}, "usage: wire WIRE CONDITION"},
        {{"wire", "triger", "broken"},
         "unknown key 'triger' in wire; there are accessories_power, accessories_power_back, "},
        {{"wire", "trigger", "loose"},
         "'trigger' must be one of 'broken', 'stuck at 0', 'stuck at 1', 'inverted', "},
        {{"wire", "trigger", "swapped with trigger"}, "'trigger' needs another wire"},
        {{"force", "dark", "1"}, "'dark' must be one of ready, mep"},
        {{"force", "ready", "2"}, "'2' must be one of 0, 1, free"},
        {{"fault", "FT_Write"}, "usage: fault FUNCTION "},
        {{"fault", "FT_Wrote", "status=4"},
         "function must name a vendor function or be '*'; 'FT_Wrote' is no function; there are *, "
         "FT_Open, FT_Close, "},
        {{"fault", "FT_Write", "statsu=4"},
         "unknown key 'statsu' in fault; there are call, count, function, silent, status, times"},
        {{"fault", "FT_Write", "times=2"},
         "[[fault]] needs 'status', 'count' or both, or 'silent = true'"},
        {{"fault", "FT_Write", "silent", "status=4"},
         "[[fault]] needs 'status', 'count' or both, or 'silent = true'"},
        {{"fault", "FT_Write", "status=4", "tims=1"},
         "unknown key 'tims' in fault; there are call, count, function, silent, status, times"},
        {{"fault", "FT_Write", "status=4", "status=5"}, "'status' is there twice"},
        {{"fault", "FT_Write", "status=four"},
         "'status' must be a whole number from 0 to 4294967295"},
        {{"fault", "FT_Write", "status=4", "call=0"}, "'call' must be a whole number from 1"},
        {{"lift", "FT_Wrote"}, "'FT_Wrote' is no function; there are *, FT_Open, "},
        {{"scenario", "name"}, "usage: scenario FILE"},
        {{"calls", "FT_Wrote"}, "'FT_Wrote' is no function; there are *, FT_Open, "},
        {{"open-driver", "now"}, "usage: open-driver"},
        {{"levels", "x"}, "'x' is not understood; usage: levels"},
        {{"journal", "--sinse", "3"},
         "'--sinse' is not understood; usage: journal [--since N] [--most COUNT] [--within MS]"},
        {{"help", "unplg"}, "'unplg' is no command; there are unplug, plug, "},
        {{"journal", "--since"}, "--since needs a number"},
        {{"journal", "--since", "x"}, "'x' is no number"},
        {{"wait-edge"}, "usage: wait-edge"},
        {{"wait-edge", "ready 2"}, "usage: wait-edge"},
        {{"wait-edge", "redy 0"}, "'redy' is no line; there are trigger, ready, mep, clear_mep, "},
        {{"wait-edge", "ready 0", "--within", "soon"},
         "'soon' is no number of milliseconds from 0 to 86400000"},
        {{"wait-edge", "ready 0", "--within", "86400001"}, "'86400001' is no number"},
        {{"wait-edge", "ready 0", "--since", "-1"}, "'-1' is no number"},
        {{"expect-pulse", "trigger"}, "usage: expect-pulse"},
        {{"expect-pulse", "triger", "9..13"}, "'triger' is no line; there are trigger, "},
        {{"expect-pulse", "trigger", "13..9"}, "'13..9' is no range: FROM is more than TO"},
        {{"expect-pulse", "trigger", "..13"}, "'' is no number of milliseconds"},
        {{"expect-pulse", "trigger", "9..13.x"}, "'13.x' is no number of milliseconds"},
    };
    for (const auto& [words, error] : mistakes) {
        const Reply reply = Perform(words, false);
        EXPECT_EQ(reply.exitCode, 2) << error;
        EXPECT_EQ(reply.text.substr(0, error.size()), error);
        EXPECT_NE(reply.text.back(), ' ') << error;
        EXPECT_EQ(Json(words, 2), (json{{"error", reply.text}}));
    }
    EXPECT_EQ(TakeAll(), Lines{}) << "nothing was done";
}

TEST_F(CommandsTest, AreWhatScenariosSay) {
    Load(kOneChip + "[[event]]\nat_ms = 1\naction = 'set exposure_ms 80'\n"
                    "[[event]]\nat_ms = 2\naction = 'fault FT_Open status=4'\n"
                    "[[event]]\nat_ms = 3\naction = 'lift FT_Open'\n"
                    "[[event]]\nat_ms = 4\naction = 'wire dark stuck at 1'\n"
                    "[[event]]\nat_ms = 5\naction = 'force mep 1'\n"
                    "[[event]]\nat_ms = 6\naction = 'note \"two  blanks\"'\n"
                    "[[event]]\nat_ms = 7\naction = 'unplug'\nchip = 0\n"
                    "[[event]]\nat_ms = 8\naction = 'plug 0'\n"
                    "[[event]]\nat_ms = 9\naction = 'ready off'\n"
                    "[[event]]\nbefore = 'FT_Open'\naction = 'scenario no hardware'\ntext = ''\n"
                    "[[event]]\nbefore = 'FT_Open'\naction = 'mep latch'\n");
    Advance(10);
    EXPECT_EQ(TakeAll(), (Lines{"set exposure_ms 80", "fault FT_Open status=4", "lift FT_Open",
                                "wire dark stuck at 1", "dark 1", "force mep 1", "mep 1",
                                "\"two  blanks\"", "unplug 0", "plug 0", "ready off", "ready 0"}));
    EXPECT_EQ(Open(0), nullptr);
    EXPECT_EQ(TakeAll(), (Lines{"scenario no hardware", "ready 1", "mep 0", "dark 0", "mep latch",
                                "mep 1", "FT_Open(0) -> 2"}));
}

TEST_F(CommandsTest, AScenarioTellsWhatIsWrongWithAnAction) {
    const auto error = [](const std::string& event) {
        EXPECT_EQ(rig_load((kOneChip + "[[event]]\nat_ms = 1\n" + event).c_str()), -1) << event;
        return std::string(rig_error());
    };
    EXPECT_EQ(error("action = 'set exposure_ms fast'"),
              "line 6: 'exposure_ms' must be a whole number from 0 to 86400000");
    EXPECT_EQ(error("action = 'scenario x'\ntext = \"[camera]\\ncolour = 1\""),
              "line 6: x: line 2: unknown key 'colour' in [camera]; there are asleep, "
              "exposure_ms, mep, mep_latched, ready, ready_after_power_ms");
    EXPECT_EQ(error("action = 'ready on'\ntext = 'x'"),
              "line 7: unknown key 'text' in [[event]]; there are action, at_ms");
    EXPECT_EQ(error("action = 'plug 0'\nchip = 0").substr(0, 30), "line 7: unknown key 'chip' in ");
}

} // namespace
} // namespace test
