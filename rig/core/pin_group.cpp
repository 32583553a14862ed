#include "pin_group.h"

#include <algorithm>
#include <utility>

namespace rig {

namespace {

bool Bit(std::uint32_t word, std::uint8_t bit) {
    return (word >> bit & 1) != 0;
}

} // namespace

/// Lays the wires again with the current faults. Releases the lines that the chip no longer
/// reaches.
void PinGroup::LayAgain() {
    const LaidWires old =
        std::exchange(laid, LayWires(group, open, groups, installation.WireFaults()));
    for (const Short& wiresThatTouch : laid.shorts) {
        installation.Connect(wiresThatTouch);
    }
    const auto drives = [&](const LaidWires& wires, rig_line line) {
        return std::ranges::any_of(wires.wires, [&](const Wire& wire) {
            return wire.line == line && wire.isDrivenByChip && Bit(driven, wire.bit);
        });
    };
    for (const Wire& wire : old.wires) {
        if (drives(old, wire.line) && !drives(laid, wire.line)) {
            installation.Release(wire.line, this);
        }
    }
    for (const Wire& wire : laid.wires) {
        if (wire.isDrivenByChip && Bit(driven, wire.bit)) {
            installation.Drive(wire.line, Bit(latch, wire.bit) == wire.activeLevel, this);
        }
    }
}

void PinGroup::Set(std::uint32_t value, std::uint32_t outputs) {
    const std::uint32_t before = driven;
    latch = value;
    driven = outputs;
    for (const Wire& wire : laid.wires) {
        if (!wire.isDrivenByChip) {
            continue;
        }
        if (Bit(outputs, wire.bit)) {
            installation.Drive(wire.line, Bit(value, wire.bit) == wire.activeLevel, this);
        } else if (Bit(before, wire.bit)) {
            installation.Release(wire.line, this);
        }
    }
}

std::uint32_t PinGroup::Read() const {
    return (latch & driven) | (LineLevels() & ~driven);
}

std::uint32_t PinGroup::LineLevels() const {
    std::uint32_t levels = laid.open;
    for (const Wire& wire : laid.wires) {
        const std::uint32_t mask = std::uint32_t{1} << wire.bit;
        const bool isHigh = installation.Level(wire.line) == wire.activeLevel;
        levels = isHigh ? levels | mask : levels & ~mask;
    }
    return levels;
}

} // namespace rig
