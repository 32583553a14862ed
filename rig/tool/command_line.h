/// What solvane-rig can do, as commands of its command line.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

namespace rig {

// Each adds its commands to `app`. What they tell goes to `out`, and beside it to `err`; both
// streams outlive the application. A failure is a std::runtime_error with a sentence.

/// `wave`: shows a recording of the lines.
void AddWaveCommand(CLI::App& app, std::ostream& out, std::ostream& err);

/// `install`, `remove` and `status`: the parts of the virtual PC that Windows must know of before a
/// host runs. When several fail, all reasons but the last one go to `err`.
void AddPcCommands(CLI::App& app, std::ostream& out, std::ostream& err);

/// `place`, `unplace` and `guard`: hosts on the rig, and not on real hardware. `hostExit` gets the
/// exit code of a host.
void AddHostCommands(CLI::App& app, std::ostream& out, int& hostExit);

/// The benches that run, and why a host last found none.
void TellBenches(std::ostream& out);

/// `bench`, `run`, and what can be done to a bench that runs. `host` is what stands behind `--`.
/// `exitCode` gets a host's, or a command's own.
void AddBenchCommands(CLI::App& app, std::ostream& out, std::ostream& err,
                      const std::vector<std::string>& host, int& exitCode);

} // namespace rig
