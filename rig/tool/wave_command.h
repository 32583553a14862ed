/// The command `wave`: shows a recording of the lines.
#pragma once

#include <ostream>

#include <CLI/CLI.hpp>

namespace rig::wave {

/// Adds the command, which writes its picture to `out` and its notes to `err` when it is called,
/// and throws std::runtime_error with a sentence when it cannot. Both streams outlive the
/// application.
void AddWaveCommand(CLI::App& app, std::ostream& out, std::ostream& err);

} // namespace rig::wave
