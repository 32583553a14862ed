/// The commands `place`, `unplace` and `guard`: hosts on the rig, and not on real hardware.
#pragma once

#include <ostream>

#include <CLI/CLI.hpp>

namespace rig {

/// Adds the commands. What is done is told to `out`, which outlives the application; `hostExit`
/// gets the exit code of a host. Failures are std::runtime_error.
void AddHostCommands(CLI::App& app, std::ostream& out, int& hostExit);

} // namespace rig
