/// The commands of solvane-rig.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

namespace rig {

// Each adds its commands to `app`. They write results to `out` and messages to `err`; both streams
// must outlive `app`. A command that fails throws std::runtime_error with a sentence.

/// `wave`: shows a recording of the lines.
void AddWaveCommand(CLI::App& app, std::ostream& out, std::ostream& err);

/// `install`, `remove` and `status`: the parts of the virtual PC that must be registered with
/// Windows before a host runs. If several parts fail, the last reason is thrown and the others go
/// to `err`.
void AddPcCommands(CLI::App& app, std::ostream& out, std::ostream& err);

/// `place`, `unplace` and `guard`: they make a host use the rig and not real hardware. `hostExit`
/// is set to the exit code of the host.
void AddHostCommands(CLI::App& app, std::ostream& out, int& hostExit);

/// `compare`: real hardware's answers against the model's. `exitCode` is set to 1 if any differ.
void AddCompareCommand(CLI::App& app, std::ostream& out, std::ostream& err, int& exitCode);

/// Prints the running benches, and why a host last found no hardware.
void PrintBenches(std::ostream& out);

/// `bench`, `run`, `replay`, and the commands for a running bench. `host` is the command line after
/// `--`. `exitCode` is set to that of the host or of the command.
void AddBenchCommands(CLI::App& app, std::ostream& out, std::ostream& err,
                      const std::vector<std::string>& host, int& exitCode);

/// `record`: runs a host on real hardware and writes its calls down. `host` and `exitCode` as
/// above.
void AddRecordCommand(CLI::App& app, std::ostream& out, std::ostream& err,
                      const std::vector<std::string>& host, int& exitCode);
/// `panel`: a bench in the browser.
void AddPanelCommand(CLI::App& app, std::ostream& out, std::ostream& err,
                     const std::vector<std::string>& host, int& exitCode);

} // namespace rig
