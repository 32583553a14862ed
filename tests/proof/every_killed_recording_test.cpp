/// A host that is killed in any call of a capture: its recording shows that call as begun, and all
/// before it as complete.
#include <csignal>
#include <filesystem>
#include <fstream>

#include <sys/wait.h>
#include <unistd.h>

#include "host_platform.h"
#include "library_on_the_rig.h"
#include "proof_kinds.h"
#include "recorder.h"
#include "recording_text.h"
#include "rig_clock.h"

#define SOLVANE_NO_IMPORT
#include <solvane/solvane.h>

namespace {

using namespace proof;
using rig::record::Recorder;
using rig::record::Recording;
using rig::record::RecordingFile;

/// How many calls a capture makes, from the first call of the library on, by kind.
constexpr std::size_t kCalls[] = {65, 63, 54, 95};

class EveryKilledRecording : public LibraryOnTheRig {
  protected:
    EveryKilledRecording() {
        static const rig::Answerer hardware = rig::answerer;
        answer = hardware;
    }
    ~EveryKilledRecording() override { std::filesystem::remove(file); }

    /// Takes a picture in a process that is killed in this call; 0: in none.
    Recording CaptureKilledIn(std::uint64_t call, const char* scenario) {
        std::filesystem::remove(file);
        killedIn = call;
        const pid_t child = fork();
        if (child == 0) {
            Capture(scenario);
            _exit(0);
        }
        int status = 0;
        waitpid(child, &status, 0);
        EXPECT_EQ(WIFSIGNALED(status), call != 0);
        std::string text(std::filesystem::file_size(file), '\0');
        std::ifstream(file, std::ios::binary)
            .read(text.data(), static_cast<std::streamsize>(text.size()));
        return rig::record::ReadRecording(text);
    }

  private:
    void Capture(const char* scenario) {
        RecordingFile recordingFile(file);
        Recorder recording(
            recordingFile, {"host", "Linux", {}, {}, false},
            {[] { return rig::clock::Now() / 1000; }, [] { return std::uint64_t{1}; }});
        recorder = &recording;
        rig::answerer = [](rig::Call& call) {
            const std::uint64_t number = recorder->Begin(call);
            if (number == killedIn) {
                kill(getpid(), SIGKILL);
            }
            answer(call);
            recorder->End(number, call, 0);
        };
        StartLibrary(scenario);
        Solvane_TriggerCapture();
        rig::answerer = answer;
        recording.Finish();
    }

    static inline rig::Answerer answer = nullptr;
    static inline Recorder* recorder = nullptr;
    static inline std::uint64_t killedIn = 0;

    const std::filesystem::path file = std::filesystem::temp_directory_path() /
                                       ("solvane-killed-" + std::to_string(getpid()) + ".rec");
};

/// A call as text: what was asked, and the answer if there was one.
std::vector<std::string> TextsOf(const Recording& recording) {
    std::vector<std::string> texts;
    for (const auto& one : recording.calls) {
        texts.push_back(QuestionOf(one) +
                        (one.returned ? rig::record::AnswerOf(one.call) : " begun"));
    }
    return texts;
}

TEST_F(EveryKilledRecording, ShowsTheCallInWhichItsHostWasKilled) {
    std::size_t kind = 0;
    for (const char* scenario :
         {test::kUsbCamera, test::kLptCamera, test::kEapiCamera, test::kSuperIoCamera}) {
        SCOPED_TRACE(scenario);
        const Recording whole = CaptureKilledIn(0, scenario);
        EXPECT_TRUE(whole.isEnded);
        EXPECT_EQ(whole.calls.size(), kCalls[kind++]);
        for (std::size_t call = 1; call <= whole.calls.size(); ++call) {
            std::vector<std::string> expected = TextsOf(whole);
            expected.resize(call);
            expected.back() = QuestionOf(whole.calls[call - 1]) + " begun";
            const Recording killed = CaptureKilledIn(call, scenario);
            EXPECT_EQ(TextsOf(killed), expected);
            EXPECT_FALSE(killed.isEnded);
            EXPECT_TRUE(killed.cutLines.empty());
        }
    }
}

} // namespace
