/// The parallel ports that Windows reports through WMI.
#pragma once

#include <string>
#include <vector>

namespace rig {

class TableReader;

/// A property as a client gets it: a text or, to test clients, a value of a wrong type.
struct WmiText {
    std::string text;
    std::string type = "string"; ///< the type, as a scenario names it
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
