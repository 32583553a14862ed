/// Where the lines are on each kind of hardware, for somebody with a meter, and what a kind can see
/// of what it drives.
#pragma once

#include <string>
#include <string_view>

namespace host {

/// How the state of a line that is driven comes back.
enum class ReadBack {
    wire,  ///< from the line, by a wire of its own
    latch, ///< from the chip's own output, whatever hangs on it
    memory ///< it is remembered, and nothing is read
};

struct KindOfWires {
    std::string_view kind;
    std::string_view trigger;
    std::string_view ready;
    std::string_view mep;
    std::string_view clearMep;
    std::string_view dark;
    std::string_view cameraPower;
    std::string_view accessoriesPower;
    ReadBack darkBack;
    ReadBack cameraPowerBack;
    ReadBack accessoriesPowerBack;
    bool configuresSwitches; ///< the first use switches the powers on and dark off
};

/// The wires of a kind by its name; of the last kind for a name that is unknown.
const KindOfWires& WiresOf(std::string_view kind);

} // namespace host
