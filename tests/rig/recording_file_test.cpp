/// The file of a recording: what is in it whatever becomes of the process, and of the disk.
#include <atomic>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "fresh_process.h"
#include "recorder.h"
#include "recording_text.h"

namespace test {
namespace {

namespace fs = std::filesystem;

using rig::record::MappedFile;
using rig::record::Recorder;
using rig::record::RecordingFile;

class RecordingFileTest : public testing::Test {
  protected:
    RecordingFileTest() { fs::create_directory(folder); }
    ~RecordingFileTest() override { fs::remove_all(folder); }

    static std::string ContentOf(const fs::path& path) {
        std::string content(fs::file_size(path), '\0');
        std::ifstream(path, std::ios::binary)
            .read(content.data(), static_cast<std::streamsize>(content.size()));
        return content;
    }

    const fs::path folder =
        fs::temp_directory_path() / ("solvane-recording-" + std::to_string(getpid()));
    const fs::path file = folder / "field.rec";
};

std::string NoLastWords(const std::string& reason) {
    ADD_FAILURE() << reason;
    return "";
}

/// Lines of all lengths, some longer than a piece of the file.
std::vector<std::string> ManyLines() {
    std::vector<std::string> lines;
    std::minstd_rand random(1);
    for (std::size_t i = 0; i < 2000; ++i) {
        const std::size_t length = i % 500 == 499 ? 3 * MappedFile::kPiece : random() % 3000;
        lines.push_back(std::string(length, static_cast<char>('a' + i % 26)) + '\n');
    }
    return lines;
}

TEST_F(RecordingFileTest, HasEveryLineWholeAcrossItsPieces) {
    std::string expected;
    {
        RecordingFile recording(file);
        for (const std::string& line : ManyLines()) {
            recording.Append(line, NoLastWords);
            expected += line;
        }
        const std::string mapped = ContentOf(file);
        EXPECT_EQ(mapped.size() % MappedFile::kPiece, 0U);
        EXPECT_TRUE(mapped.substr(0, expected.size()) == expected);
        EXPECT_EQ(mapped.find_first_not_of('\0', expected.size()), std::string::npos);
        recording.Finish("end\n");
        EXPECT_TRUE(ContentOf(file) == expected + "end\n");
        recording.Append("late\n", NoLastWords);
        recording.Finish("end\n");
    }
    EXPECT_TRUE(ContentOf(file) == expected + "late\nend\n");
}

TEST_F(RecordingFileTest, IsNeverWrittenOver) {
    for (const char* name : {"field.rec", "field-2.rec", "field-3.rec"}) {
        RecordingFile recording(file);
        EXPECT_EQ(recording.Path(), folder / name);
        recording.Append(std::string(name) + '\n', NoLastWords);
    }
    EXPECT_EQ(ContentOf(folder / "field-2.rec"), "field-2.rec\n");
    EXPECT_THROW(RecordingFile(folder / "none" / "field.rec"), std::runtime_error);
}

TEST_F(RecordingFileTest, IsInOrderWheneverItsProcessIsKilled) {
    for (useconds_t delay = 0; delay < 4000; delay += 200) {
        fs::remove(file);
        const pid_t child = fork();
        if (child == 0) {
            RecordingFile recording(file);
            for (std::size_t i = 0;; ++i) {
                recording.Append(std::string(1 + i % 4000, 'x') + '\n', NoLastWords);
            }
        }
        usleep(delay);
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
        const std::string content = fs::exists(file) ? ContentOf(file) : "";
        std::size_t place = 0;
        for (std::size_t i = 0; place < content.size() && content[place] != '\0'; ++i) {
            const std::size_t end = content.find('\n', place);
            ASSERT_EQ(end - place, 1 + i % 4000);
            ASSERT_EQ(content.find_first_not_of('x', place), end);
            place = end + 1;
        }
    }
}

/// A process may write files of so many bytes only.
void LimitDisk(std::size_t bytes) {
    const rlimit limit{bytes, bytes};
    setrlimit(RLIMIT_FSIZE, &limit);
    std::signal(SIGXFSZ, SIG_IGN);
}

const rig::record::Head kHead{"host.exe", "Linux", {}, {}, false};

Recorder::Process Timeless() {
    return {[] { return rig::record::Microseconds{7}; }, [] { return std::uint64_t{1}; }};
}

TEST_F(RecordingFileTest, EndsWithTheDiskAndSaysSo) {
    InFreshProcess([this] {
        LimitDisk(2 * MappedFile::kPiece + MappedFile::kPiece / 2);
        RecordingFile recording(file);
        Recorder recorder(recording, kHead, Timeless());
        const auto& function = rig::VendorFunctions()[std::size_t{0}];
        for (std::size_t i = 0; i < 60'000; ++i) {
            rig::Call call{function, {std::uint64_t{1}, std::uint64_t{1}}, {}};
            const std::uint64_t number = recorder.Begin(call);
            recorder.End(number, call, 0);
            ASSERT_EQ(number, i + 1) << "the host goes on";
        }
        recorder.Finish();
    });
    const auto recording = rig::record::ReadRecording(ContentOf(file));
    EXPECT_GT(recording.calls.size(), 20'000U);
    EXPECT_LT(recording.calls.size(), 60'000U);
    ASSERT_EQ(recording.remarks.size(), 1U);
    EXPECT_EQ(recording.remarks[0].text, "the disk is full, the recording ends here");
    EXPECT_FALSE(recording.isEnded);
}

TEST_F(RecordingFileTest, HasTheCallsOfThreadsOneByOne) {
    constexpr std::uint64_t kThreads = 4;
    constexpr std::uint64_t kCalls = 3000;
    {
        RecordingFile recording(file);
        Recorder recorder(recording, kHead, Timeless());
        std::atomic<std::uint64_t> ready{0};
        std::vector<std::thread> threads;
        for (std::uint64_t thread = 0; thread < kThreads; ++thread) {
            threads.emplace_back([&, thread] {
                for (++ready; ready != kThreads;) {
                }
                for (std::uint64_t i = 0; i < kCalls; ++i) {
                    const auto& open = rig::VendorFunctions()[0];
                    rig::Call call{open, {thread, std::uint64_t{1}}, {}};
                    const std::uint64_t number = recorder.Begin(call);
                    call.outputs = {{}, number};
                    recorder.End(number, call, 0);
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        recorder.Finish();
    }
    const auto recording = rig::record::ReadRecording(ContentOf(file));
    ASSERT_EQ(recording.calls.size(), kThreads * kCalls);
    std::map<std::uint64_t, std::uint64_t> calls;
    for (const auto& one : recording.calls) {
        ASSERT_EQ(one.call.outputs.at(1), rig::Value(one.number));
        ++calls[rig::Number(one.call.inputs[0])];
    }
    EXPECT_EQ(calls, (std::map<std::uint64_t, std::uint64_t>{
                         {0, kCalls}, {1, kCalls}, {2, kCalls}, {3, kCalls}}));
}

// Without memory for a line, as with values that cannot be shown.
TEST_F(RecordingFileTest, ALineThatCannotBeFinishedIsLeftOut) {
    {
        RecordingFile recording(file);
        Recorder recorder(recording, kHead, Timeless());
        const auto functions = rig::VendorFunctions();
        const auto& open = functions[static_cast<std::size_t>(rig::Function::FT_Open)];
        const auto& openEx = functions[static_cast<std::size_t>(rig::Function::FT_OpenEx)];
        rig::Call odd{openEx, {rig::Texts{"two"}, std::uint64_t{1}, std::uint64_t{1}}, {}};
        EXPECT_THROW(recorder.Begin(odd), std::bad_variant_access);
        rig::Call call{open, {std::uint64_t{1}, std::uint64_t{1}}, {}};
        const std::uint64_t number = recorder.Begin(call);
        call.outputs = {{}, std::uint64_t{4112}};
        recorder.End(number, call, 0);
        recorder.Finish();
    }
    const auto recording = rig::record::ReadRecording(ContentOf(file));
    ASSERT_EQ(recording.calls.size(), 1U);
    EXPECT_EQ(recording.calls[0].number, 2U);
    EXPECT_TRUE(recording.calls[0].returned);
}

TEST_F(RecordingFileTest, CannotBeginOnAFullDisk) {
    InFreshProcess([this] {
        LimitDisk(MappedFile::kPiece / 2);
        try {
            const RecordingFile recording(file);
            ADD_FAILURE();
        } catch (const std::runtime_error& reason) {
            EXPECT_STREQ(reason.what(), "the disk is full");
        }
    });
}

} // namespace
} // namespace test
