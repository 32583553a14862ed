/// Starting a host so that it cannot reach real hardware.
#pragma once

#include <string>
#include <vector>

namespace rig {

/// Runs a host, given as program and arguments, and returns its exit code. If the host, or a
/// program that it starts, loads a DLL with the name of one of the rig's but other content than the
/// DLL beside this program, all of them are ended before any code of that DLL runs. In that case,
/// and if the host cannot be started, throws std::runtime_error with the reason.
int RunGuarded(const std::vector<std::string>& command);

} // namespace rig
