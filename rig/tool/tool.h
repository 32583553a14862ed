/// solvane-rig as a function.
#pragma once

#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

namespace rig {

/// The codes with which the program ends, unless a host that it runs gives another. The last one is
/// a code that hosts leave alone: `env` and `timeout` use it likewise.
enum ExitCode { kSuccess = 0, kFailure = 1, kUsageError = 2, kOutputLost = 4, kGuardFailure = 125 };

/// A host was not started, or was ended.
struct GuardFailure : std::runtime_error {
    using runtime_error::runtime_error;
};

/// Does what the arguments, the program's name first, ask for, and gives the exit code.
int RunTool(std::vector<std::string> arguments, std::ostream& out, std::ostream& err);

} // namespace rig
