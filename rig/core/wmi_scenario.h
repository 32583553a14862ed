/// What Windows knows of the parallel ports of a scenario, through its management interface.
#pragma once

#include <string>
#include <vector>

namespace rig {

class TableReader;

/// A property as a client gets it: a text, or the wrong thing in the place of one.
struct WmiText {
    enum class Type {
        String,
        NullString, ///< a string that points nowhere
        Null,       ///< no value
        Number      ///< the number with which the text begins, in C's notation; 0 without one
    };

    std::string text;
    Type type = Type::String;
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
