/// Starting a host so that it cannot reach real hardware.
#pragma once

#include <string>
#include <vector>

namespace rig {

/// Runs a host, given as its program and arguments, and every program that it starts, and gives the
/// host's exit code. One that loads a DLL by the name of one of the rig's, whose content is not
/// that of the DLL beside this program, is ended with all the others before any code of that DLL
/// has run; that, and a host that cannot be started, is a std::runtime_error with the reason.
int RunGuarded(const std::vector<std::string>& command);

} // namespace rig
