/// The commands `install`, `remove` and `status`: the parts of the virtual PC that Windows must
/// know of before a host runs.
#pragma once

#include <ostream>

#include <CLI/CLI.hpp>

namespace rig {

/// Adds the commands. What a part says goes to `out`. When parts fail, the reasons go to `err` but
/// for the last one, with which std::runtime_error is thrown. Both streams outlive the application.
void AddPcCommands(CLI::App& app, std::ostream& out, std::ostream& err);

} // namespace rig
