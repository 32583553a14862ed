/// The wires between a chip and the camera, and their faults.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include <solvane/rig.h>

namespace rig {

struct Wire {
    std::uint8_t bit;
    rig_line line;
    bool activeLevel;    ///< the pin's level while the line is active
    bool isDrivenByChip; ///< else the chip can only read it
};

/// The name of a wire: that of its line; with "_back" appended for a wire on which the chip reads
/// back a line that it drives by another wire.
std::string WireName(const Wire& wire);

/// Every name that a wire can have on some kind of hardware.
std::vector<std::string> WireNames();

/// The condition of a wire without a fault.
inline constexpr const char* kHealthy = "healthy";

struct WireFault {
    enum class Kind { Broken, StuckAt0, StuckAt1, Inverted, SwappedWith, ShortedTo };

    std::string wire;
    Kind kind = Kind::Broken;
    std::string other; ///< the wire that it is swapped with or shorted to

    bool HasOther() const { return kind == Kind::SwappedWith || kind == Kind::ShortedTo; }
};

/// Two wires that touch.
struct Short {
    Wire one;
    Wire other;
};

/// The wires of a group of pins after all faults, and the levels of the pins left without a wire.
struct LaidWires {
    std::vector<Wire> wires;
    std::uint32_t open;
    std::vector<Short> shorts; ///< between its wires and any wire of the chip
};

/// Applies the faults to a group. `chip` holds all groups of the chip: a fault may join two of
/// them.
LaidWires LayWires(std::span<const Wire> group, std::uint32_t open,
                   std::span<const std::span<const Wire>> chip, std::span<const WireFault> faults);

} // namespace rig
