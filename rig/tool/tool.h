/// solvane-rig as a function.
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace rig {

/// The codes with which the program ends.
enum ExitCode { kSuccess = 0, kFailure = 1, kUsageError = 2 };

/// Does what the arguments, the program's name first, ask for.
ExitCode RunTool(std::vector<std::string> arguments, std::ostream& out, std::ostream& err);

} // namespace rig
