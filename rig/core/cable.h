/// What is wrong with the wires between a chip and the camera.
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

/// The name of a wire: that of its line, or with "_back" behind it where it leads back to the chip
/// what the chip drives by another wire.
std::string WireName(const Wire& wire);

/// Every name that a wire can have on some kind of hardware.
std::vector<std::string> WireNames();

/// A wire that is not as it should be.
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

/// The wires of a group of pins as they lie, and the levels of the pins that none of them reaches.
struct LaidWires {
    std::vector<Wire> wires;
    std::uint32_t open;
    std::vector<Short> shorts; ///< of its wires with any of the chip's
};

/// `chip` are all groups of the chip, for a fault may join two of them.
LaidWires LayWires(std::span<const Wire> group, std::uint32_t open,
                   std::span<const std::span<const Wire>> chip, std::span<const WireFault> faults);

} // namespace rig
