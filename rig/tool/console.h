/// What systems do differently about text on the command line; here it is UTF-8 everywhere.
#pragma once

#include <string>
#include <vector>

namespace rig {

using Program = int (*)(std::vector<std::string> arguments);

/// Runs a program with the arguments of main(), and with a console that takes UTF-8 meanwhile.
int RunInUtf8(int count, char** values, Program program);

} // namespace rig
