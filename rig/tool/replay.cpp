#include "replay.h"

#include <memory>
#include <stdexcept>
#include <utility>

#include "file_content.h"
#include "hardware_scenario.h"
#include "own_bench.h"
#include "recorded_hardware.h"
#include "recorded_lines.h"
#include "recording_text.h"
#include "replayer.h"
#include "rig_state.h"
#include "this_program.h"
#include "tool.h"

namespace rig {

namespace {

std::unique_ptr<record::Replayer> replayer;

/// Has the hardware simulated that the recording shows.
void LoadHardwareOf(const record::Recording& recording) {
    const Access rig;
    if (!rig->LoadText(HardwareScenario(recording, HardwareOf(recording), LinesOf(recording)))) {
        throw std::runtime_error(rig->Error());
    }
}

} // namespace

record::Recording RecordingIn(const std::string& file, std::ostream& err) {
    const std::optional<std::string> text = host::ContentOf(PathOf(file));
    if (!text) {
        throw std::runtime_error(file + ": cannot be read");
    }
    try {
        record::Recording recording = record::ReadRecording(*text);
        for (const std::size_t line : recording.cutLines) {
            err << "solvane-rig: " << file << ": line " << line << ": cut, and left out\n";
        }
        return recording;
    } catch (const record::RecordingError& error) {
        throw std::runtime_error(file + ": " + error.what());
    }
}

void StartReplay(const ReplayRequest& request, const std::string& scenario, std::ostream& err) {
    record::Recording recording = RecordingIn(request.recording, err);
    record::ReplayOptions options{request.isFast};
    if (request.then == "simulate") {
        options.then = record::Then::Simulated;
        scenario.empty() ? LoadHardwareOf(recording) : LoadScenario(scenario);
    } else {
        Access()->LoadText(ScenarioOfPorts(recording.head));
    }
    replayer = std::make_unique<record::Replayer>(std::move(recording), options);
}

void AnswerFromRecording(Call& call) {
    replayer->Answer(call);
}

int PrintReplay(std::ostream& out) {
    out << "Replay: " << replayer->Report() << ".\n";
    return replayer->IsFollowed() ? kSuccess : kFailure;
}

} // namespace rig
