/// The pins of the lines on each kind of hardware, for measuring, and which of the lines that it
/// drives a kind can read back.
#pragma once

#include <string>
#include <string_view>

namespace host {

/// How the state of a driven line is read back.
enum class ReadBack {
    wire,  ///< from the line itself, by a separate wire
    latch, ///< from the chip's output register, not from the line
    memory ///< not at all: the library remembers the last command
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
    bool configuresSwitches; ///< configuring the hardware switches the powers on and dark off
};

/// The wires of a kind by its name; of the last kind if the name is unknown.
const KindOfWires& WiresOf(std::string_view kind);

} // namespace host
