/// The lines of a recording of vendor calls as a waveform: one trigger on an FT2232H.
#include "recorded_wave.h"

#include <filesystem>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

#include "recording_text.h"
#include "tool.h"

namespace {

using namespace rig::wave;
using rig::Function;
using rig::Value;

Value Bytes(std::initializer_list<int> bytes) {
    return std::string(bytes.begin(), bytes.end());
}

class RecordedWaveTest : public testing::Test {
  protected:
    RecordedWaveTest() {
        const Value there = std::uint64_t{1};
        const Value handle = std::uint64_t{9};
        Add(0, 3, Function::FT_OpenEx, {Value("SLV1B"), there, there}, {{}, {}, handle});
        Add(5, 8, Function::FT_SetBitMode, {handle, std::uint64_t{0}, std::uint64_t{2}}, {});
        Write(10, 15, {0x82, 0x40, 0x4F});
        Write(20, 25, {0x83});
        Add(30, 36, Function::FT_Read, {handle, there, there, there},
            {{}, Bytes({0x70}), {}, std::uint64_t{1}});
        Write(40, 1'040, {0x82, 0x41, 0x4F});
        Write(10'050, 11'060, {0x82, 0x40, 0x4F});
        recording.isEnded = true;
    }

    void Add(std::uint64_t begun, std::uint64_t returned, Function function,
             std::vector<Value> inputs, std::vector<Value> outputs) {
        recording.calls.push_back(
            {recording.calls.size() + 1,
             1,
             begun,
             {rig::Described(function), std::move(inputs), std::move(outputs)},
             "SLV1B",
             returned});
    }

    void Write(std::uint64_t begun, std::uint64_t returned, std::initializer_list<int> bytes) {
        Add(begun, returned, Function::FT_Write,
            {std::uint64_t{9}, Bytes(bytes), bytes.size(), std::uint64_t{1}},
            {{}, {}, {}, std::uint64_t{bytes.size()}});
    }

    std::string Text() const { return TextOf(recording); }

    rig::record::Recording recording;
};

/// "66.4:1 78.6:0"
std::string ChangesOf(const Signal& signal) {
    std::ostringstream text;
    for (const Change& change : signal.changes) {
        text << (text.tellp() > 0 ? " " : "") << change.time << ':'
             << kLevelDigits[static_cast<std::size_t>(change.level)];
    }
    return text.str();
}

TEST_F(RecordedWaveTest, OutputsChangeWhenTheirWriteReturnsAndInputsWhenTheyAreAskedFor) {
    ASSERT_TRUE(IsOfCalls(Text()));
    const Recording lines = LinesOfCalls(Text());
    ASSERT_EQ(lines.signals.size(), 7U);
    EXPECT_EQ(ChangesOf(lines.signals[0]), "0.015:0 1.04:1 11.06:0");
    EXPECT_EQ(lines.signals[0].name, "trigger");
    EXPECT_EQ(ChangesOf(lines.signals[1]), "0.025:1");
    EXPECT_EQ(ChangesOf(lines.signals[2]), "0.025:0");
    EXPECT_EQ(lines.signals[2].name, "mep");
    EXPECT_EQ(lines.end, 11.06);
}

TEST_F(RecordedWaveTest, AFailedCallIsAMark) {
    recording.calls.back().call.status = 18;
    const Recording lines = LinesOfCalls(Text());
    ASSERT_EQ(lines.marks.size(), 1U);
    EXPECT_EQ(lines.marks[0].name, "fault");
    EXPECT_EQ(lines.marks[0].time, 11.06);
    EXPECT_EQ(ChangesOf(lines.signals[0]), "0.015:0 1.04:1") << "nothing was written";
}

TEST_F(RecordedWaveTest, AnotherProgramReadsTheSameFromTheVcdFile) {
    recording.calls.back().call.status = 18;
    const Recording lines = LinesOfCalls(Text());
    const Recording read = ReadVcd(VcdOf(lines));
    ASSERT_EQ(read.signals.size(), lines.signals.size());
    for (std::size_t i = 0; i < lines.signals.size(); ++i) {
        EXPECT_EQ(ChangesOf(read.signals[i]), ChangesOf(lines.signals[i]));
        EXPECT_EQ(read.signals[i].path, lines.signals[i].path);
    }
    ASSERT_EQ(read.marks.size(), 1U);
    EXPECT_EQ(read.marks[0].name, "fault");
    EXPECT_EQ(read.end, lines.end);
}

TEST_F(RecordedWaveTest, TheToolShowsIt) {
    const std::filesystem::path folder = testing::TempDir();
    const std::string file = (folder / "trigger.rec").string();
    const std::string vcd = (folder / "trigger.rec.vcd").string();
    std::ofstream(file, std::ios::binary) << Text();
    std::ostringstream out;
    std::ostringstream err;
    EXPECT_EQ(
        rig::RunTool({"solvane-rig", "wave", file, "--signal", "trigger", "--vcd", vcd}, out, err),
        rig::kSuccess)
        << err.str();
    EXPECT_NE(out.str().find("10.02 ms"), std::string::npos) << out.str();
    std::ifstream written(vcd, std::ios::binary);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(written), {}),
              VcdOf(LinesOfCalls(Text())));
    std::ofstream(file, std::ios::binary | std::ios::app) << "damaged\n";
    EXPECT_EQ(rig::RunTool({"solvane-rig", "wave", file}, out, err), rig::kFailure);
    EXPECT_NE(err.str().find("trigger.rec, line "), std::string::npos) << err.str();
}

} // namespace
