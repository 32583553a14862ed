/// Some pins of a chip, wired to the camera's lines.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "cable.h"
#include "installation.h"

namespace rig {

class PinGroup {
  public:
    /// Pins without a wire have the level of their bit in `openLevels`.
    PinGroup(Installation& camera, std::span<const Wire> wires, std::uint32_t openLevels)
        : PinGroup(camera, wires, openLevels, {&wires, 1}) {}
    /// For a chip with several groups.
    PinGroup(Installation& camera, std::span<const Wire> wires, std::uint32_t openLevels,
             std::span<const std::span<const Wire>> chip)
        : installation(camera), group(wires), groups(chip.begin(), chip.end()), open(openLevels) {
        LayAgain();
        camera.Attach([this] { LayAgain(); });
    }
    PinGroup(const PinGroup&) = delete;
    PinGroup& operator=(const PinGroup&) = delete;

    /// Sets the levels, and which of the pins the chip drives (1 = output).
    void Set(std::uint32_t value, std::uint32_t outputs);

    /// The levels of the pins now: an output has the level it was set to, an input that of its
    /// line.
    std::uint32_t Read() const;

    /// The levels that the lines give the pins, whatever the chip drives.
    std::uint32_t LineLevels() const;

    /// Makes every pin an input.
    void Release() { Set(0, 0); }

  private:
    void LayAgain();

    Installation& installation;
    const std::span<const Wire> group;
    const std::vector<std::span<const Wire>> groups; ///< all of the chip
    const std::uint32_t open;
    LaidWires laid;
    std::uint32_t latch = 0;
    std::uint32_t driven = 0;
};

} // namespace rig
