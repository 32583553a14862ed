/// Commands on a recording of vendor calls, which have the names of commands for a bench.
#pragma once

#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace rig {

/// `journal FILE`: what happened. `scenario FILE [-o FILE]`: the scenario of a recording, to `out`
/// or into a file. None if the words are not about a recording but about a bench; else the exit
/// code. `hasOptions`: a bench was named, or JSON asked for. Throws std::runtime_error for a
/// recording that cannot be read.
std::optional<int> CommandOnRecording(const std::vector<std::string>& words, bool hasOptions,
                                      std::ostream& out, std::ostream& err);

} // namespace rig
