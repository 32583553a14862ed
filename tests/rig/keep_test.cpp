#include "bench_rig.h"
#include "commands.h"
#include "rig_state.h"

namespace test {
namespace {

using rig::Perform;

class KeepTest : public BenchRig {
  protected:
    ~KeepTest() override { host::duringWait = nullptr; }

    static std::string Kept() {
        const rig::Reply reply = Perform({"keep", "session.toml"}, false);
        EXPECT_EQ(reply.exitCode, 0) << reply.text;
        return reply.text;
    }

    static std::string ErrorOf(const std::string& toml) {
        EXPECT_EQ(rig_load(toml.c_str()), -1) << toml;
        return rig_error();
    }
};

TEST_F(KeepTest, WritesTheScenarioAndWhatWasDone) {
    Load("# Fr\xc3\xbchling\n" + kOneChip + "[camera]\nexposure_ms = 30 # long");
    Advance(5);
    Open(0);
    Advance(1);
    Perform({"set", "exposure_ms", "80"}, false);
    Advance(1);
    Open(1);
    rig_note("the host's own");
    Perform({"note", "\"quoted\""}, false);
    Perform({"scenario", "empty.toml", "# \xc3\xbc\n"}, false);
    Open(2);
    Perform({"ready", "off"}, false);
    const std::string expected =
        "# Fr\xc3\xbchling\n" + kOneChip +
        "[camera]\nexposure_ms = 30 # long\n"
        "[session] # when the rig began and each call came, in ns since the one before\n"
        "calls_ns = [\n    0, 5000000, [2000000, 0], 0,\n]\n\n"
        "[[session.event]]\ncall = 2\nat_ns = 6000000\naction = \"set exposure_ms 80\"\n\n"
        "[[session.event]]\ncall = 3\nat_ns = 7000000\naction = \"note \\\"quoted\\\"\"\n\n"
        "[[session.event]]\ncall = 3\nat_ns = 7000000\naction = \"scenario empty.toml\"\n"
        "text = \"\"\"\n# \\U000000fc\n\"\"\"\n\n"
        "[[session.event]]\ncall = 4\nat_ns = 7000000\naction = \"ready off\"\n";
    EXPECT_EQ(Kept(), expected);
    Load(expected);
    EXPECT_EQ(Kept().substr(0, 50), expected.substr(0, 50));
}

TEST_F(KeepTest, KeepsTheDefaultScenario) {
    ASSERT_EQ(rig_load(nullptr), 0);
    EXPECT_EQ(Kept(), "[[usb]]\nchip = 'FT2232H'\n"
                      "[session] # when the rig began and each call came, in ns since the one "
                      "before\ncalls_ns = [\n    0,\n]\n");
}

/// A host whose reads wait, for data that comes and for data that does not.
Lines ReadingHost() {
    FT_HANDLE pins = Open(1);
    FT_SetBitMode(pins, 0, FT_BITMODE_MPSSE);
    FT_SetLatencyTimer(pins, 16);
    FT_SetTimeouts(pins, 40, 0);
    Drive(pins, kRest | kTrigger); // an exposure of 25 ms
    for (int i = 0; i < 3; ++i) {
        std::uint8_t bytes[2];
        std::uint32_t count = 0;
        Write(pins, {0x83});
        FT_Read(pins, bytes, i == 0 ? 1 : 2, &count);
    }
    FT_Close(pins);
    host::Advance(200'000'000);
    return TakeAll();
}

TEST_F(KeepTest, KnowsInWhichWaitOfACallSomethingWasDone) {
    const std::vector<Lines> actions = {{"unplug", "0"},       {"note", "here"},
                                        {"ready", "off"},      {"wire", "ready", "inverted"},
                                        {"scenario", "x", ""}, {"fault", "FT_Write", "status=4"}};
    std::size_t sessions = 0;
    for (const Lines& action : actions) {
        for (std::size_t wait = 0; wait < 96; wait += 5) {
            Load(kOneChip);
            std::size_t waits = 0;
            host::duringWait = [&] {
                if (waits++ == wait) {
                    Perform(action, false);
                }
            };
            const Lines session = ReadingHost();
            ASSERT_GT(waits, wait);
            host::duringWait = nullptr;
            const std::string kept = Kept();
            EXPECT_NE(kept.find("\nstep = "), std::string::npos);

            Load(kept);
            // a busy system: waits take longer than recorded
            host::duringWait = [] { host::Advance(7'000'000); };
            EXPECT_EQ(ReadingHost(), session) << action[0] << ' ' << wait << '\n' << kept;
            EXPECT_EQ(Kept(), kept);
            host::duringWait = nullptr;
            ++sessions;
        }
    }
    EXPECT_EQ(sessions, 120U);
}

TEST_F(KeepTest, AnotherHostMeetsTheRestByTheClock) {
    Advance(10);
    Open(0);
    Advance(10);
    Perform({"ready", "off"}, false);
    Advance(10);
    Perform({"scenario", "again", kOneChip}, false);
    Perform({"unplug", "0"}, false);
    Load(Kept());
    TakeAll();
    Advance(1000);
    EXPECT_EQ(TakeAll(), Lines{}) << "time waits for the call";
    EXPECT_EQ(rig_time(), 0U);
    Open(0);
    EXPECT_EQ(rig_time(), 10'000'000U);
    Advance(9);
    EXPECT_EQ(TakeAll(), Lines{"FT_Open(0) -> 0"});
    Advance(1);
    EXPECT_EQ(TakeAll(), (Lines{"ready off", "ready 0"}));
    const std::string again = Kept();
    Advance(9);
    EXPECT_EQ(TakeAll(), Lines{});
    Advance(1);
    EXPECT_EQ(TakeAll(), (Lines{"scenario again", "ready 1", "unplug 0"}));

    Load(again);
    Open(0);
    TakeAll();
    Open(0);
    EXPECT_EQ(TakeAll(), (Lines{"ready off", "ready 0", "FT_Open(0) -> 3"}))
        << "a call that the session did not have";
}

TEST_F(KeepTest, WhatIsLeftOutlivesTheHardware) {
    Load(kOneChip + "[[event]]\nat_ms = 50\naction = 'scenario other'\ntext = '[eapi]'\n");
    Open(0);
    for (int ms = 0; ms < 80; ms += 20) {
        Advance(20);
        Perform({"note", std::to_string(ms)}, false);
    }
    const Lines session = TakeAll();
    EXPECT_EQ(session, (Lines{"FT_Open(0) -> 0", "0", "20", "scenario other", "40", "60"}));
    Load(Kept());
    Open(0);
    Advance(200);
    EXPECT_EQ(TakeAll(), session);
}

TEST_F(KeepTest, ASessionCanBecomeTooLong) {
    for (int i = 0; i < 100'001; ++i) {
        rig_note("on and on");
    }
    const rig::Reply reply = Perform({"keep"}, true);
    EXPECT_EQ(reply.exitCode, 1);
    EXPECT_EQ(reply.text, R"({"error":"the session has become too long to be kept"})");
    Perform({"ready", "off"}, false);
    Open(0);
    EXPECT_EQ(Perform({"keep"}, false).exitCode, 1);
    Load(kOneChip);
    EXPECT_NE(Kept(), "") << "but the next one is short";
}

TEST_F(KeepTest, TheTextsOfActionsAreNotHeldWithoutEnd) {
    const std::string scenario = "# " + std::string(600'000, 'x');
    Perform({"scenario", "first", scenario}, false);
    EXPECT_TRUE(rig::Access()->Recorder().IsWhole());
    Perform({"scenario", "second", scenario}, false);
    EXPECT_FALSE(rig::Access()->Recorder().IsWhole());
    EXPECT_TRUE(rig::Access()->Recorder().Recorded().events.empty());
    EXPECT_EQ(Perform({"keep"}, false).exitCode, 1);
}

TEST_F(KeepTest, ASessionThatMakesNoSenseIsRefused) {
    EXPECT_EQ(ErrorOf("[session]\ncolour = 1"),
              "line 2: unknown key 'colour' in [session]; there are calls_ns, event, wmi");
    EXPECT_EQ(ErrorOf("[session]\n[camera]"), "line 1: [session] must come last");
    EXPECT_EQ(ErrorOf("\n[[session.event]]\naction = 'ready'\n[[usb]]\nchip = 'FT2232H'"),
              "line 2: [session] must come last");
    EXPECT_EQ(ErrorOf("[session]\ncalls_ns = 1"), "line 2: 'calls_ns' must be an array");
    for (const std::string list : {"[-1]", "['a']", "[[1, true]]", "[[]]"}) {
        EXPECT_EQ(ErrorOf("[session]\ncalls_ns = " + list),
                  "line 2: 'calls_ns' must hold whole numbers and lists of them");
    }
    EXPECT_EQ(ErrorOf("[[session.event]]\naction = 'unplug 0'"),
              "line 2: there is no chip 0; there are none");
    EXPECT_EQ(Perform({"scenario", "x", "[session]"}, false).text,
              "x is a session, which begins with the rig");
}

} // namespace
} // namespace test
