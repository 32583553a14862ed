/// Recordings that are anything at all: they are read or refused with a line, what is read is
/// written as it was, and a host on one and the model beside one are served.

#include <solvane/rig.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "compare.h"
#include "d2xx.h"
#include "fuzz_check.h"
#include "host_platform.h"
#include "recording_text.h"
#include "replayer.h"
#include "scenario.h"

namespace {

using namespace rig::record;
using fuzz::Check;

constexpr std::uint64_t kLongestWait = 1000; ///< ms

/// Whether no read of the model's waits for days.
bool IsShort(const Recording& recording) {
    for (const RecordedCall& one : recording.calls) {
        if (one.call.function.id == rig::Function::FT_SetTimeouts &&
            rig::Number(one.call.inputs[1]) > kLongestWait) {
            return false;
        }
    }
    return true;
}

/// A host that makes the recorded calls, or those of the first thread only.
void Replay(const Recording& recording, Then then) {
    Check(rig_load(ScenarioOfPorts(recording.head).c_str()) == 0, rig_error());
    Replayer replayer(recording, {true, then});
    for (const RecordedCall& one : recording.calls) {
        rig::Call call{one.call.function, one.call.inputs, {}};
        replayer.Answer(call);
        Check(!one.returned || call.status == one.call.status, "an answer is as recorded");
    }
    Check(replayer.IsFollowed(), "whoever asks the same follows");
    rig::Call other{rig::Described(rig::Function::FT_Rescan), {}, {}};
    replayer.Answer(other);
    Check(!replayer.Report().empty(), "there is a report");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    host::Record(false);
    rig_load(nullptr);
    const std::string text(reinterpret_cast<const char*>(bytes), size);
    try {
        const Recording recording = ReadRecording(text);
        const std::string written = TextOf(recording);
        Check(TextOf(ReadRecording(written)) == written, "what is written is read again");
        if (IsShort(recording)) {
            Replay(recording, Then::Gone);
            Replay(recording, Then::Simulated);
            Compare(recording, std::string(rig::kDefaultScenario) + "[eapi]\n[lpt]\n");
        }
    } catch (const RecordingError& refusal) {
        Check(std::string(refusal.what()).starts_with("line "), "a refusal names the line");
    }
    return 0;
}
