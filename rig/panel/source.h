/// What the panel shows: a bench, or a file.
#pragma once

#include <functional>
#include <stdexcept>
#include <string>

#include "message.h"

namespace rig::panel {

/// What is shown is not there any more, or not yet. The message is a sentence for people.
struct NotThere : std::runtime_error {
    using runtime_error::runtime_error;
};

struct Source {
    std::string name; ///< of the bench, or the file's path
    bool isFile = false;

    /// Carries out a command, or throws NotThere. Several threads call this at the same time, and a
    /// command that waits blocks its thread.
    std::function<Reply(const bench::Command&)> ask = {};

    /// Draws a waveform (VCD) as SVG, or throws std::runtime_error.
    std::function<std::string(const std::string& vcd)> draw = {};
};

/// The state of the rig, as `state --json` tells it, with whose it is.
std::string StateOf(const Source& source, const std::string& rigState);

} // namespace rig::panel
