/// What Windows knows of the parallel ports of a scenario, through its management interface.
#pragma once

#include <string>
#include <vector>

namespace rig {

class TableReader;

/// A property as a client gets it: a text, or the wrong thing in the place of one.
struct WmiText {
    std::string text;
    std::string type = "string"; ///< in the words of the scenario
};

/// An instance of Win32_ParallelPort with its Win32_PortResources.
struct WmiPort {
    WmiText deviceId;
    std::vector<WmiText> startingAddresses;
};

struct WmiSetup {
    std::vector<WmiPort> ports; ///< in the order of their enumeration
};

/// Reads the [[parallel_port]] tables, or throws ScenarioError.
WmiSetup ReadWmi(std::vector<TableReader> tables);

} // namespace rig
