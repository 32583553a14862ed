/// What a host says to the rig, as a recording.
#include "recorded_calls.h"

#include "bench_rig.h"

namespace test {
namespace {

using RecordedCallsTest = BenchRig;

TEST_F(RecordedCallsTest, AreAllCallsWithTheirAnswersAndTimes) {
    std::string text;
    {
        const RecordedCalls recorded({"host.exe", "Linux", {}, {}, false});
        std::uint32_t count = 0;
        FT_CreateDeviceInfoList(&count);
        FT_HANDLE handle = Open(1);
        Advance(20);
        EXPECT_EQ(Read(handle, 0), Bytes{});
        FT_Close(handle);
        FT_Close(handle);
        text = recorded.Text();
    }
    Devices();
    const rig::record::Recording recording = rig::record::ReadRecording(text);
    EXPECT_EQ(recording.head.program, "host.exe");
    EXPECT_TRUE(recording.isEnded);
    Lines lines;
    for (const auto& one : recording.calls) {
        lines.push_back(std::to_string(one.begun) + ' ' + QuestionOf(one));
        lines.push_back(std::to_string(one.returned.value()) + ' ' +
                        rig::record::AnswerOf(one.call));
    }
    EXPECT_EQ(lines, (Lines{
                         "0 FT_CreateDeviceInfoList()",
                         "0 FT_CreateDeviceInfoList -> 0, 2",
                         "0 FT_Open(1)",
                         "0 FT_Open -> 0",
                         "20000 FT_Read(SLV1B, 0)",
                         "20000 FT_Read -> 0, []",
                         "20000 FT_Close(SLV1B)",
                         "20000 FT_Close -> 0",
                         "20000 FT_Close(?)",
                         "20000 FT_Close -> 1",
                     }));
}

} // namespace
} // namespace test
