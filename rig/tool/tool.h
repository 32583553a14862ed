/// solvane-rig as a function.
#pragma once

#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

namespace rig {

/// The exit codes of the program, unless it runs a host and returns the host's. 125 is a code that
/// hosts do not use: `env` and `timeout` use it for the same purpose.
enum ExitCode { kSuccess = 0, kFailure = 1, kUsageError = 2, kOutputLost = 4, kGuardFailure = 125 };

/// A host could not be started, or was ended by the guard.
struct GuardFailure : std::runtime_error {
    using runtime_error::runtime_error;
};

/// Runs the tool. `arguments` begins with the program's name. Returns the exit code.
int RunTool(std::vector<std::string> arguments, std::ostream& out, std::ostream& err);

} // namespace rig
