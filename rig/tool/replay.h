/// A recording as the hardware of this process, for hosts that join its bench.
#pragma once

#include <ostream>
#include <string>

#include "call.h"
#include "recording.h"

namespace rig {

/// The options of a replay.
struct ReplayRequest {
    std::string recording; ///< its file; empty: no replay
    bool isFast = false;
    std::string then = "gone"; ///< or "simulate"
};

/// Reads a recording from a file. Lines that are cut go to `err`. Throws std::runtime_error with
/// the file, the line and the reason.
record::Recording RecordingIn(const std::string& file, std::ostream& err);

/// Makes AnswerFromRecording() ready. `scenario` is a file with what is simulated; empty:
/// what the recording shows.
void StartReplay(const ReplayRequest& request, const std::string& scenario, std::ostream& err);
void AnswerFromRecording(Call& call);

/// Tells how far the hosts followed. The exit code: whether it was to the end.
int PrintReplay(std::ostream& out);

} // namespace rig
