/// A host on a recording: it is answered as the real hardware has answered, and where it does
/// otherwise is found.
#include "replayer.h"

#include <memory>
#include <thread>

#include "bench_rig.h"
#include "eapi.h"
#include "inpout.h"
#include "recorded_calls.h"
#include "rig_state.h"
#include "stand_in.h"

namespace test {
namespace {

using namespace rig::record;

class ReplayTest : public BenchRig {
  protected:
    ~ReplayTest() override { EndReplay(); }

    /// What the host does on the rig, as a recording.
    template <class Host>
    static std::string Record(Host host) {
        const RecordedCalls recorded;
        host();
        return recorded.Text();
    }

    void Replay(const std::string& text, ReplayOptions options = {},
                const std::string& scenario = {}) {
        Recording recording = ReadRecording(text);
        Load(scenario.empty() ? ScenarioOfPorts(recording.head) : scenario);
        rig_journal_clear();
        current = std::make_unique<Replayer>(std::move(recording), options);
        rig::answerer = [](rig::Call& call) { current->Answer(call); };
    }

    static void EndReplay() {
        rig::answerer = rig::Answer;
        current.reset();
    }

    static inline std::unique_ptr<Replayer> current;
};

/// One trigger, and a look at the pins.
Bytes TakePicture() {
    FT_HANDLE pins = OpenPins();
    Drive(pins, kRest | kTrigger);
    host::Advance(5'000'000);
    Drive(pins, kRest);
    const Bytes answer{HighByte(pins)};
    FT_Close(pins);
    return answer;
}

TEST_F(ReplayTest, AnswersAsTheHardwareDid) {
    Bytes answer;
    const std::string text = Record([&] { answer = TakePicture(); });
    const Lines journal = Take(RIG_CALL);
    Replay(text);
    const std::uint64_t start = Milliseconds();
    EXPECT_EQ(TakePicture(), answer);
    EXPECT_TRUE(current->IsFollowed());
    EXPECT_EQ(current->Report(), "all 8 calls were as recorded");
    EXPECT_EQ(Take(RIG_CALL), journal) << "the names of the devices too";
    EXPECT_EQ(rig_calls("FT_Write"), 3U);
    EXPECT_GE(Milliseconds() - start, 5U);
}

TEST_F(ReplayTest, CountsTheCallsOfItsHost) {
    constexpr rig::HostNumber kGuest = 7;
    Replay(Record(TakePicture));
    rig::answerer = [](rig::Call& call) {
        call.host = kGuest;
        current->Answer(call);
    };
    rig::Access()->guests[kGuest] = {"host.exe", 100};
    TakePicture();
    EXPECT_EQ(rig::Access()->guests[kGuest].calls, 8U);
    rig::Access()->guests.erase(kGuest);
}

TEST_F(ReplayTest, TakesAsLongAsTheHardwareDid) {
    const auto host = [] {
        FT_HANDLE pins = OpenPins();
        FT_SetTimeouts(pins, 70, 70);
        EXPECT_EQ(Read(pins, 100).size(), 0U);
    };
    const std::string text = Record(host);
    for (const bool isFast : {false, true}) {
        Replay(text, {isFast});
        const std::uint64_t start = Milliseconds();
        host();
        EXPECT_EQ(Milliseconds() - start, isFast ? 0U : 70U);
        EXPECT_TRUE(current->IsFollowed());
        EndReplay();
    }
}

TEST_F(ReplayTest, NamesTheFirstCallThatDiffers) {
    const std::string text = Record([] { TakePicture(); });
    Replay(text);
    Write(OpenPins(), {0x82, kRest | kDark, kOutputs});
    EXPECT_FALSE(current->IsFollowed());
    EXPECT_EQ(current->Report(),
              "call 4 differs: the recording has FT_Write(SLV1B, [82 41 4f]), the host asked "
              "FT_Write(SLV1B, [82 42 4f]); before that, 3 calls of 8 were as recorded");
    EXPECT_EQ(Take(RIG_EVENT),
              Lines{"replay: call 4 differs: the recording has FT_Write(SLV1B, [82 41 4f]), the "
                    "host asked FT_Write(SLV1B, [82 42 4f])"});
}

TEST_F(ReplayTest, ShowsADifferenceThatTheTextDoesNot) {
    Bytes many(20, 0x80);
    const std::string text = Record([&] { Write(OpenPins(), many); });
    Replay(text);
    many[19] = 0x81;
    Write(OpenPins(), many);
    const std::string report = current->Report();
    EXPECT_NE(report.find("8080 20 1, the host asked FT_Write(SLV1B, [80 80"), report.npos)
        << report;
    EXPECT_NE(report.find("8081 20 1; before"), report.npos) << report;
}

TEST_F(ReplayTest, ACallTooManyAndACallTooFewAreDifferences) {
    const auto host = [] { Devices(); };
    const std::string text = Record(host);
    Replay(text);
    host();
    EXPECT_TRUE(current->IsFollowed());
    Devices();
    EXPECT_FALSE(current->IsFollowed());
    EXPECT_EQ(current->Report(),
              "call 3 differs: the recording has nothing more, the host asked "
              "FT_CreateDeviceInfoList(); before that, 2 calls of 2 were as recorded");
    EndReplay();

    Replay(text);
    std::uint32_t count = 0;
    FT_CreateDeviceInfoList(&count);
    EXPECT_EQ(count, 2U);
    EXPECT_FALSE(current->IsFollowed());
    EXPECT_EQ(current->Report(), "the host ended after 1 of 2 calls; the recording goes on with "
                                 "call 2, FT_GetDeviceInfoList(2)");
}

TEST_F(ReplayTest, OfAnInterruptedRecordingGoesOnWithoutHardware) {
    std::string text = Record([] { Open(1); });
    text.resize(text.rfind('!'));
    Replay(text);
    FT_HANDLE pins = Open(1);
    EXPECT_NE(pins, nullptr);
    EXPECT_EQ(FT_SetLatencyTimer(pins, 1), kIoError);
    EXPECT_TRUE(current->IsFollowed()) << "nobody knows what came then";
    EXPECT_EQ(current->Report(),
              "the only call was as recorded, until the recording was interrupted");
}

TEST_F(ReplayTest, ACallThatHungTakesAsLongAsItWasSeenTo) {
    std::string text = Record([] {
        Open(1);
        Advance(30);
    });
    text.resize(text.rfind("< "));
    text += "! 30.000 the host is killed\n";
    Replay(text);
    const std::uint64_t start = Milliseconds();
    EXPECT_EQ(Open(1), nullptr);
    EXPECT_EQ(Milliseconds() - start, 30U);
    EXPECT_TRUE(current->IsFollowed());
}

TEST_F(ReplayTest, AfterwardsTheHardwareIsGoneForEachVendor) {
    const std::string all = kOneChip + "[eapi]\n[lpt]\n";
    Load(all);
    const auto host = [] {
        EXPECT_EQ(EApiLibInitialize(), EAPI_STATUS_SUCCESS);
        EXPECT_EQ(IsInpOutDriverOpen(), 1);
        return OpenPins();
    };
    const std::string text = Record(host);
    Replay(text);
    FT_HANDLE pins = host();
    EXPECT_EQ(FT_Write(pins, nullptr, 0, nullptr), kIoError);
    EXPECT_EQ(FT_Close(pins), kIoError);
    EXPECT_TRUE(Devices().empty());
    EXPECT_EQ(Open(1), nullptr);
    std::uint32_t level = 0;
    constexpr EApiStatus_t kNotInitialised = 0xFFFF'FFFF;
    constexpr EApiStatus_t kNotFound = 0xFFFF'FBFF;
    EXPECT_EQ(EApiGPIOGetLevel(0, 1, &level), kNotInitialised);
    EXPECT_EQ(EApiLibInitialize(), kNotFound);
    EXPECT_EQ(IsInpOutDriverOpen(), 0);
    EXPECT_EQ(Inp32(0x379), 0);
    EXPECT_FALSE(current->IsFollowed());
    EXPECT_EQ(Take(RIG_CALL).at(5), "FT_Write(SLV1B, []) -> 4");
}

TEST_F(ReplayTest, AfterwardsTheSimulatedHardwareGoesOnFromThere) {
    const auto host = [](int value) {
        FT_HANDLE pins = OpenPins();
        Drive(pins, kRest | kDark);
        Drive(pins, value);
        return pins;
    };
    const std::string text = Record([&] { host(kRest); });
    Replay(text, {.then = Then::Simulated}, kOneChip);
    FT_HANDLE pins = host(kRest | kDark | kTrigger);
    EXPECT_FALSE(current->IsFollowed());
    EXPECT_EQ(rig_level(RIG_DARK), 1) << "from before the difference";
    EXPECT_EQ(rig_level(RIG_TRIGGER), 1);
    EXPECT_EQ(rig_captures(), 1U);
    EXPECT_EQ(HighByte(pins) & kDark, kDark);
    EXPECT_EQ(FT_Close(pins), FT_OK);
    EXPECT_NE(Open(1), nullptr);
    const Lines journal = Take(RIG_CALL);
    EXPECT_EQ(journal.front(), "FT_Open(1) -> 0");
    EXPECT_EQ(journal.back(), "FT_Open(1) -> 0");
    EXPECT_EQ(journal.at(4), "FT_Write(SLV1B, [82 43 4f]) -> 0, 3");
}

TEST_F(ReplayTest, WmiAnswersAsTheHeadSays) {
    Head head;
    head.ports = {{std::string("LPT7"), {std::string("888"), std::uint64_t{5}, rig::Value()}},
                  {std::string("\"\\"), {}}};
    EXPECT_EQ(ScenarioOfPorts(head),
              "[[parallel_port]]\n"
              "device_id = \"LPT7\"\ndevice_id_type = \"string\"\n"
              "[[parallel_port.range]]\nstart = \"888\"\ntype = \"string\"\n"
              "[[parallel_port.range]]\nstart = \"5\"\ntype = \"number\"\n"
              "[[parallel_port.range]]\nstart = \"0\"\ntype = \"null\"\n"
              "[[parallel_port]]\n"
              "device_id = \"\\u0022\\u005c\"\ndevice_id_type = \"string\"\n");
    EXPECT_EQ(ScenarioOfPorts({}), "parallel_port = []\n");
    std::string text;
    AppendHead(text, head);
    AppendEnd(text, 0);
    Replay(text);
    rig::Call query{rig::Described(rig::Function::ExecQuery),
                    {std::uint64_t{1}, std::string("WQL"),
                     std::string("SELECT * FROM Win32_ParallelPort"), std::uint64_t{0},
                     rig::Value()},
                    {}};
    rig::answerer(query);
    EXPECT_EQ(query.outputs.at(0),
              rig::Value(rig::Texts{"DeviceID string LPT7", "DeviceID string \"\\"}));
    EXPECT_TRUE(current->IsFollowed()) << "not a call of the recording";
}

// A recorder passes such a call on unseen.
TEST_F(ReplayTest, ACallThatNoRecordingHasIsNoDifference) {
    std::string text = Record([] { FT_Close(Open(1)); });
    const auto erase = [] { EXPECT_EQ(rig::Ask(rig::Function::FT_EraseEE), 17U); };
    Replay(text);
    FT_HANDLE pins = Open(1);
    erase();
    FT_Close(pins);
    EXPECT_TRUE(current->IsFollowed()) << current->Report();
    EXPECT_EQ(Take(RIG_CALL).at(1), "FT_EraseEE() -> 17");
    EndReplay();

    // One that was made on a rig has it.
    text = Record(erase);
    Replay(text);
    erase();
    EXPECT_TRUE(current->IsFollowed());
    erase();
    EXPECT_FALSE(current->IsFollowed());
}

// Two threads' calls, recorded one after the other, come mixed and from one thread.
TEST_F(ReplayTest, ThreadsMayComeInAnyOrder) {
    std::string text = Record([] {
        FT_HANDLE a = Open(0);
        FT_HANDLE b = Open(1);
        FT_SetLatencyTimer(a, 1);
        FT_SetLatencyTimer(a, 2);
        FT_SetLatencyTimer(b, 1);
        FT_SetLatencyTimer(b, 2);
    });
    for (const char* line : {" 1 5 FT_", " 1 6 FT_"}) {
        for (std::size_t at = text.find(line); at != text.npos; at = text.find(line, at)) {
            text[at + 1] = '2';
        }
    }
    const auto host = [](const std::vector<std::pair<int, std::uint8_t>>& order) {
        FT_HANDLE handles[] = {Open(0), Open(1)};
        for (const auto& [which, latency] : order) {
            FT_SetLatencyTimer(handles[which], latency);
        }
    };
    Replay(text);
    host({{1, 1}, {0, 1}, {1, 2}, {0, 2}});
    EXPECT_TRUE(current->IsFollowed()) << current->Report();
    EndReplay();
    Replay(text);
    host({{0, 1}, {1, 2}});
    EXPECT_EQ(current->Report(),
              "call 4 differs: the recording has FT_SetLatencyTimer(SLV1A, 2), the host asked "
              "FT_SetLatencyTimer(SLV1B, 2); before that, 3 calls of 6 were as recorded");
}

TEST_F(ReplayTest, OfSeveralThatAskTheSameTheFirstAnswers) {
    std::string text;
    AppendHead(text, {});
    text += "> 0.000 2 1 IsInpOutDriverOpen()\n"
            "< 0.001 2 1 IsInpOutDriverOpen -> 1\t1 0\n"
            "> 0.002 1 2 IsInpOutDriverOpen()\n"
            "< 0.003 1 2 IsInpOutDriverOpen -> 0\t0 0\n"
            "! 0.004 end\n";
    Replay(text);
    EXPECT_EQ(IsInpOutDriverOpen(), 1);
    EXPECT_EQ(IsInpOutDriverOpen(), 0);
    EXPECT_TRUE(current->IsFollowed());
}

} // namespace
} // namespace test
