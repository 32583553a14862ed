/// Real hardware and its model: where their answers differ is listed, and nothing else.
#include "compare.h"

#include <cstring>

#include "bench_rig.h"
#include "inpout.h"
#include "recorded_calls.h"
#include "recorded_scenario.h"

namespace test {
namespace {

using namespace rig::record;

class CompareTest : public BenchRig {
  protected:
    template <class Host>
    static std::string Record(Host host) {
        const RecordedCalls recorded;
        host();
        return recorded.Text();
    }

    static Comparison Compared(const std::string& text, const std::string& scenario = kOneChip) {
        return Compare(ReadRecording(text), scenario);
    }

    /// Replaces the only occurrence.
    static void Change(std::string& text, const std::string& from, const std::string& to) {
        const std::size_t at = text.find(from);
        ASSERT_NE(at, text.npos) << from << " in\n" << text;
        ASSERT_EQ(text.find(from, at + 1), text.npos) << from;
        text.replace(at, from.size(), to);
    }
};

/// Lists and opens, waits for the camera, looks and closes.
void LookAround() {
    EXPECT_EQ(Devices().size(), 2U);
    FT_HANDLE pins = OpenPins();
    Drive(pins, kRest | kTrigger);
    host::Advance(5'000'000);
    Drive(pins, kRest);
    HighByte(pins);
    host::Advance(200'000'000);
    HighByte(pins);
    char serial[16];
    char description[64];
    void* const nowhere = nullptr;
    rig::Ask(rig::Function::FT_GetDeviceInfoDetail, 1, nowhere, nowhere, nowhere, nowhere, serial,
             description, nowhere);
    FT_Close(pins);
    FT_Close(pins);
}

TEST_F(CompareTest, TheModelIsAsItself) {
    const std::string text = Record(LookAround);
    const Comparison comparison = Compared(text);
    EXPECT_TRUE(comparison.differences.empty()) << comparison.differences.front().question;
    EXPECT_EQ(comparison.compared, ReadRecording(text).calls.size());
    EXPECT_EQ(comparison.unopened + comparison.unreturned, 0U);
}

TEST_F(CompareTest, AnAnswerThatIsChangedIsFound) {
    std::string text = Record(LookAround);
    Change(text, "FT_Close -> 1\t1 ", "FT_Close -> 4\t4 ");
    const auto differences = Compared(text).differences;
    ASSERT_EQ(differences.size(), 1U);
    EXPECT_EQ(differences[0].number, ReadRecording(text).calls.size());
    EXPECT_EQ(differences[0].question, "FT_Close(?)");
    EXPECT_EQ(differences[0].recorded, "FT_Close -> 4");
    EXPECT_EQ(differences[0].simulated, "FT_Close -> 1");
    const Comparison withoutScenario = Compare(ReadRecording(text));
    ASSERT_EQ(withoutScenario.differences.size(), 1U) << "the hardware is what the recording shows";
    EXPECT_EQ(withoutScenario.differences[0].number, differences[0].number);
}

// Of every call in turn.
TEST_F(CompareTest, EveryAnswerThatIsChangedIsFound) {
    const std::string text = Record(LookAround);
    const Recording recording = ReadRecording(text);
    for (std::size_t i = 0; i < recording.calls.size(); ++i) {
        Recording changed = recording;
        changed.calls[i].call.status ^= 0x10;
        const auto differences = Compare(changed, kOneChip).differences;
        ASSERT_GE(differences.size(), 1U) << i;
        EXPECT_EQ(differences[0].number, i + 1);
    }
    EXPECT_EQ(recording.calls.size(), 14U);
}

TEST_F(CompareTest, WhatAnotherPcHasIsNoDifference) {
    constexpr std::uint64_t kPlace = 0x12; // of channel B
    std::string text = Record([] {
        Devices();
        FT_HANDLE pins = OpenPins();
        Devices();
        FT_Close(pins);
        const auto openAt = [&](std::uint64_t place) {
            return rig::Ask(rig::Function::FT_OpenEx, place, rig::usb::kByLocation, &pins);
        };
        EXPECT_EQ(openAt(kPlace), FT_OK);
        EXPECT_EQ(openAt(kPlace), kDeviceNotFound) << "an open one has no place";
        EXPECT_EQ(openAt(0x999), kDeviceNotFound);
        std::uint32_t version = 0;
        rig::Ask(rig::Function::FT_GetLibraryVersion, &version);
        FT_Close(pins);
    });
    Recording recording = ReadRecording(text);
    // Another handle wherever it is, another location, and rubbish after the ends of texts.
    const rig::Value handle = recording.calls[2].call.outputs[1];
    const std::uint64_t other = 0x7ffe'1234'5678;
    for (RecordedCall& one : recording.calls) {
        std::replace(one.call.inputs.begin(), one.call.inputs.end(), handle, rig::Value(other));
        std::replace(one.call.outputs.begin(), one.call.outputs.end(), handle, rig::Value(other));
        if (one.call.function.id == rig::Function::FT_GetDeviceInfoList) {
            auto& nodes = std::get<std::string>(one.call.outputs[0]);
            ASSERT_EQ(nodes.size(), 2 * sizeof(FT_DEVICE_LIST_INFO_NODE));
            for (std::size_t i = 0; i < 2; ++i) {
                FT_DEVICE_LIST_INFO_NODE node;
                char* const place = nodes.data() + i * sizeof node;
                std::memcpy(&node, place, sizeof node);
                node.LocId += node.LocId != 0 ? 0x100 : 0; // an open one has none
                node.SerialNumber[15] = 'x';
                node.Description[63] = 'x';
                if (node.ftHandle != nullptr) {
                    std::memcpy(&node.ftHandle, &other, sizeof other);
                }
                std::memcpy(place, &node, sizeof node);
            }
        }
        if (one.call.function.id == rig::Function::FT_OpenEx &&
            one.call.inputs[0] == rig::Value(kPlace)) {
            one.call.inputs[0] = kPlace + 0x100;
        }
        if (one.call.function.id == rig::Function::FT_GetLibraryVersion) {
            one.call.outputs[0] = std::uint64_t{0x03'02'17};
        }
    }
    const Comparison comparison = Compare(recording, kOneChip);
    EXPECT_TRUE(comparison.differences.empty()) << comparison.differences.front().question;
    EXPECT_EQ(comparison.unopened, 0U);
    const RecordedScenario scenario = ScenarioOf(recording);
    EXPECT_EQ(scenario.others.size(), 1U) << "that of the library's version";

    // But the content of a text, and a device that is not open, are.
    auto& nodes = std::get<std::string>(recording.calls[1].call.outputs[0]);
    nodes[offsetof(FT_DEVICE_LIST_INFO_NODE, Description)] = 'X';
    const auto differences = Compare(recording, kOneChip).differences;
    ASSERT_EQ(differences.size(), 1U);
    EXPECT_EQ(differences[0].number, 2U);
    EXPECT_NE(differences[0].recorded, differences[0].simulated) << "though the text is the same";
}

TEST_F(CompareTest, OnlyTheLastOfTheQuestionsForWaitingBytesCounts) {
    std::string text = Record([] {
        FT_HANDLE pins = OpenPins();
        Write(pins, {0x83});
        QueueLength(pins);
        QueueLength(pins);
        Advance(20);
        QueueLength(pins);
        Read(pins, 1);
    });
    Recording recording = ReadRecording(text);
    std::vector<RecordedCall*> questions;
    for (RecordedCall& one : recording.calls) {
        if (one.call.function.id == rig::Function::FT_GetQueueStatus) {
            questions.push_back(&one);
        }
    }
    ASSERT_EQ(questions.size(), 3U);
    questions[0]->call.outputs[1] = std::uint64_t{7};
    questions[1]->call.outputs[1] = std::uint64_t{0};
    EXPECT_TRUE(Compare(recording, kOneChip).differences.empty());
    questions[2]->call.outputs[1] = std::uint64_t{0};
    EXPECT_EQ(Compare(recording, kOneChip).differences.size(), 1U);
    questions[2]->call.outputs[1] = std::uint64_t{1};
    questions[0]->call.status = 4;
    EXPECT_EQ(Compare(recording, kOneChip).differences.size(), 1U) << "the status counts";
}

TEST_F(CompareTest, OtherHardwareIsOneDifferenceAndWhatFollowsIsCounted) {
    const std::string text = Record(LookAround);
    const Comparison comparison = Compared(text, "usb = []\n");
    ASSERT_EQ(comparison.differences.size(), 4U);
    EXPECT_EQ(comparison.differences[0].question, "FT_CreateDeviceInfoList()");
    EXPECT_EQ(comparison.differences[2].question, "FT_Open(1)");
    EXPECT_EQ(comparison.differences[2].simulated, "FT_Open -> 2");
    EXPECT_EQ(comparison.unopened, 9U);
    EXPECT_EQ(comparison.compared, 5U);
    EXPECT_THROW(Compared(text, "usb = 3\n"), std::runtime_error);
}

TEST_F(CompareTest, CallsThatHungAreNotCompared) {
    std::string text = Record([] { Inp32(0x379); });
    text.resize(text.find("< "));
    const Comparison comparison = Compared(text, "[lpt]\n");
    EXPECT_EQ(comparison.unreturned, 1U);
    EXPECT_EQ(comparison.compared, 0U);
    EXPECT_TRUE(comparison.differences.empty());
}

TEST_F(CompareTest, APortIsComparedByTheBitsThatAHostGets) {
    Load("[lpt]\n");
    std::string text = Record([] {
        Inp32(0x379);
        Out32(0x37a, 4);
    });
    Recording recording = ReadRecording(text);
    recording.calls[0].call.status |= 0xFFFF'0000;
    recording.calls[1].call.status = 77; // Out32 returns nothing
    EXPECT_TRUE(Compare(recording, "[lpt]\n").differences.empty());
    recording.calls[0].call.status ^= 0x8;
    EXPECT_EQ(Compare(recording, "[lpt]\n").differences.size(), 1U);
}

} // namespace
} // namespace test
