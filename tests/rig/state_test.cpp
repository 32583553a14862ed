/// What `state` tells of a rig, what `vcd` writes of its lines, and faults as single things.
#include "commands.h"

#include <nlohmann/json.hpp>

#include "bench_rig.h"
#include "direct_bench.h"

namespace test {
namespace {

using nlohmann::json;
using rig::Perform;
using rig::Reply;

class StateTest : public BenchRig {
  protected:
    static std::string Said(const Lines& words) {
        const Reply reply = Perform(words, false);
        EXPECT_EQ(reply.exitCode, 0) << reply.text;
        return reply.text;
    }
    static json State() { return json::parse(Perform({"state"}, true).text); }
};

TEST_F(StateTest, OfADefaultRig) {
    Advance(7);
    EXPECT_EQ(State(), json::parse(R"({
        "ns": 7000000, "scenario": "given as text", "pc": "on",
        "lines": {"trigger": 0, "ready": 1, "mep": 0, "clear_mep": 0, "dark": 0, "camera_power": 1,
                  "accessories_power": 1},
        "captures": 0, "refused": 0,
        "camera": {"activity": "ready", "ready": "free", "mep_level": "free", "mep": "latch",
                   "exposure_ms": 25, "ready_after_power_ms": 500, "powered": true},
        "chips": [{"index": 0, "kind": "FT2232H", "name": "SLV1", "plugged": true, "camera": true}],
        "wiring": {"trigger": "healthy", "ready": "healthy", "mep": "healthy",
                   "clear_mep": "healthy", "dark": "healthy", "camera_power": "healthy",
                   "accessories_power": "healthy", "dark_back": "healthy",
                   "camera_power_back": "healthy", "accessories_power_back": "healthy"},
        "faults": [], "hosts": []})"));
    EXPECT_EQ(Perform({"state"}, true).text.substr(0, 14), R"({"ns":7000000,)") << "its time first";
    EXPECT_EQ(Said({"state"}), "scenario           given as text\n"
                               "time               7 ms\n"
                               "trigger            0\n"
                               "ready              1\n"
                               "mep                0\n"
                               "clear_mep          0\n"
                               "dark               0\n"
                               "camera_power       1\n"
                               "accessories_power  1\n"
                               "camera             ready\n"
                               "captures           0\n"
                               "refused            0\n"
                               "chip 0             FT2232H SLV1");
}

TEST_F(StateTest, OfTheCamera) {
    const auto activity = [] { return State()["camera"]["activity"]; };
    FT_HANDLE pins = OpenPins();
    Drive(pins, kRest | kTrigger);
    EXPECT_EQ(activity(), "exposing");
    Drive(pins, kRest);
    Drive(pins, kRest | kTrigger);
    EXPECT_EQ(State()["captures"], 1);
    EXPECT_EQ(State()["refused"], 1) << "a trigger while it exposes";
    Advance(25);
    EXPECT_EQ(activity(), "ready");
    Said({"ready", "off"});
    EXPECT_EQ(activity(), "busy");
    Said({"set", "asleep", "true"});
    EXPECT_EQ(activity(), "asleep");
    Drive(pins, kRest | kCameraOff);
    EXPECT_EQ(activity(), "off");
    EXPECT_EQ(State()["camera"]["powered"], false);
    Drive(pins, kRest);
    EXPECT_EQ(activity(), "starting");

    Said({"force", "ready", "0"});
    Said({"force", "mep", "1"});
    Said({"set", "mep", "stuck"});
    Said({"set", "exposure_ms", "80"});
    const json camera = State()["camera"];
    EXPECT_EQ(camera["ready"], "0");
    EXPECT_EQ(camera["mep_level"], "1");
    EXPECT_EQ(camera["mep"], "stuck");
    EXPECT_EQ(camera["exposure_ms"], 80);
    Said({"force", "ready", "free"});
    EXPECT_EQ(State()["camera"]["ready"], "free");
    Said({"sleep", "100"});
    EXPECT_EQ(State()["pc"], "asleep");
    Advance(100);
    EXPECT_EQ(State()["pc"], "on");
}

TEST_F(StateTest, OfEveryKindOfChip) {
    Load("[[usb]]\nchip = 'FT232R'\nserial = 'R'\nplugged = false\n"
         "[[usb]]\nchip = 'FT2232H'\nserial = 'H'\n[eapi]\n[superio]\n[lpt]\n");
    const json all = State()["chips"];
    std::vector<json> chips(all.begin(), all.end());
    std::ranges::sort(chips, {}, [](const json& chip) { return chip["kind"].dump(); });
    EXPECT_EQ(json(chips), json::parse(R"([
        {"kind": "Embedded API", "name": "", "plugged": true, "camera": true},
        {"index": 1, "kind": "FT2232H", "name": "H", "plugged": true, "camera": true},
        {"index": 0, "kind": "FT232R", "name": "R", "plugged": false, "camera": false},
        {"kind": "Super I/O", "name": "", "plugged": true, "camera": true},
        {"kind": "parallel port", "name": "", "plugged": true, "camera": true}])"));
    Said({"plug", "0"});
    Said({"unplug", "1"});
    EXPECT_NE(Said({"state"}).find("chip 1             FT2232H H, unplugged"), std::string::npos);
}

TEST_F(StateTest, OfWires) {
    Said({"wire", "dark", "stuck", "at", "1"});
    Said({"wire", "trigger", "swapped", "with", "mep"});
    const json wiring = State()["wiring"];
    EXPECT_EQ(wiring["dark"], "stuck at 1");
    EXPECT_EQ(wiring["trigger"], "swapped with mep");
    EXPECT_EQ(wiring["mep"], "swapped with trigger") << "a fault of two wires";
    EXPECT_NE(Said({"state"}).find("wire dark          stuck at 1"), std::string::npos);
    Said({"wire", "ready", "shorted", "to", "clear_mep"});
    EXPECT_EQ(State()["wiring"]["clear_mep"], "shorted to ready");
    for (const char* const condition : {"broken", "stuck at 0", "inverted", "healthy"}) {
        Said({"wire", "dark", condition});
        EXPECT_EQ(State()["wiring"]["dark"], condition);
    }
}

TEST_F(StateTest, OfFaultsOneByOne) {
    Said({"fault", "FT_Open", "status=4", "times=2"});
    Said({"fault", "FT_Open", "silent", "call=3"});
    Said({"fault", "*", "status=3", "count=1", "call=90", "times=0"});
    Open(0);
    Open(0);
    EXPECT_EQ(State()["faults"], json::parse(R"([
        {"id": 1, "function": "FT_Open", "call": 1, "times": 2, "status": 4, "occurred": 2},
        {"id": 2, "function": "FT_Open", "call": 3, "times": 1, "silent": true, "occurred": 0},
        {"id": 3, "function": "*", "call": 90, "times": 0, "status": 3, "count": 1, "occurred": 0}
        ])"));
    const std::string text = Said({"state"});
    EXPECT_NE(text.find("fault 1            FT_Open status=4 call=1 times=2, occurred 2"),
              std::string::npos)
        << text;
    EXPECT_EQ(Said({"lift", "2"}), "lift 2");
    EXPECT_EQ(Take(RIG_EVENT).back(), "lift 2");
    EXPECT_NE(Open(0), nullptr) << "its third call succeeds";
    ASSERT_EQ(State()["faults"].size(), 2U);
    EXPECT_EQ(State()["faults"][1]["id"], 3);
    Said({"fault", "FT_Close", "status=4"});
    EXPECT_EQ(State()["faults"][2]["id"], 4) << "an id is not given again";
    Load(kOneChip + "[[fault]]\nfunction = 'FT_Open'\nstatus = 4\n");
    EXPECT_EQ(State()["faults"][0]["id"], 1) << "but in a new scenario";
}

TEST_F(StateTest, OfHosts) {
    const rig::Answerer answerer = rig::answerer;
    static rig::bench::HostSide* host = nullptr;
    rig::bench::Introduction who;
    who.key = 77;
    who.process = 4711;
    who.program = "viewer \".exe";
    {
        rig::bench::HostSide side([] { return std::make_unique<DirectConnection>(PerformNothing); },
                                  who, [](const std::string& reason) { ADD_FAILURE() << reason; });
        host = &side;
        rig::answerer = [](rig::Call& call) { host->Answer(call); };
        FT_HANDLE first = Open(0);
        Open(1);
        json hosts = State()["hosts"];
        ASSERT_EQ(hosts.size(), 1U);
        const std::string number = std::to_string(hosts[0]["number"].get<int>());
        hosts[0].erase("number");
        EXPECT_EQ(hosts[0], json::parse(R"({"program": "viewer \".exe", "process": 4711,
                                            "handles": ["SLV1A", "SLV1B"], "calls": 2})"));
        EXPECT_NE(Said({"state"}).find("viewer \".exe (process 4711), 2 calls, SLV1A SLV1B"),
                  std::string::npos);
        FT_Close(first);
        EXPECT_EQ(State()["hosts"][0]["handles"], json::parse(R"(["SLV1B"])"));
    }
    rig::answerer = answerer;
    EXPECT_TRUE(State()["hosts"].empty());
}

TEST_F(StateTest, TheWaveformGoesAsFarBackAsTheJournal) {
    FT_HANDLE pins = OpenPins();
    Drive(pins, kRest);
    Advance(2);
    Drive(pins, kRest | kTrigger);
    Advance(10);
    Drive(pins, kRest);
    Advance(3);
    const std::string vcd = Said({"vcd", "lines.vcd"});
    EXPECT_EQ(json::parse(Perform({"vcd"}, true).text), (json{{"vcd", vcd}}));
    const std::string levels = "\n$dumpvars\n0!\n1\"\n0#\n0$\n0%\n1&\n1'\n$end\n";
    const std::size_t end = vcd.find(levels);
    ASSERT_NE(end, std::string::npos) << vcd;
    EXPECT_EQ(vcd.substr(end + levels.size()), "#2000\n1!\n1(\n0\"\n#12000\n0!\n#15000");

    rig_journal_clear();
    Drive(pins, kRest | kDark);
    const std::string later = Said({"vcd", "lines.vcd"});
    EXPECT_NE(later.find("\n#0\n$dumpvars\n0!\n0\"\n"), std::string::npos) << "ready is 0 by now";
    EXPECT_EQ(later.substr(later.rfind("$end\n")), "$end\n1%")
        << "time begins with the first entry";
}

} // namespace
} // namespace test
