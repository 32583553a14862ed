/// Some pins of a chip, wired to the camera's lines.
#pragma once

#include <cstdint>
#include <span>

#include "installation.h"

namespace rig {

struct Wire {
    std::uint8_t bit;
    rig_line line;
    bool activeLevel;    ///< the pin's level while the line is active
    bool isDrivenByChip; ///< else the chip can only read it
};

class PinGroup {
  public:
    /// Pins without a wire have the level of their bit in `openLevels`. `wires` must outlive the
    /// group.
    PinGroup(Installation& camera, std::span<const Wire> wires, std::uint32_t openLevels)
        : installation(camera), wiring(wires), open(openLevels) {}
    PinGroup(const PinGroup&) = delete;
    PinGroup& operator=(const PinGroup&) = delete;

    /// Sets the levels, and which of the pins the chip drives (1 = output).
    void Set(std::uint32_t value, std::uint32_t outputs);

    /// The levels of the pins now: an output has what it was set to, another pin that of its line.
    std::uint32_t Read() const;

    /// The levels that the lines give the pins, whatever the chip drives.
    std::uint32_t LineLevels() const;

    /// Makes every pin an input.
    void Release() { Set(0, 0); }

  private:
    Installation& installation;
    std::span<const Wire> wiring;
    const std::uint32_t open;
    std::uint32_t latch = 0;
    std::uint32_t driven = 0;
};

} // namespace rig
