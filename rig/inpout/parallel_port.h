/// A parallel port with the camera connected: its data, status and control registers.
#pragma once

#include <array>
#include <cstdint>

#include "pin_group.h"
#include "scenario.h"

namespace rig::io {

// Bits as a program sees them in the registers. The port inverts some of them on the connector.

inline constexpr std::array kDataWires = {
    Wire{0, RIG_DARK, true, true},
    Wire{1, RIG_TRIGGER, true, true},
    Wire{5, RIG_ACCESSORIES_POWER, false, true},
    Wire{6, RIG_CAMERA_POWER, false, true},
};
inline constexpr std::array kStatusWires = {
    Wire{5, RIG_READY, true, false},
    Wire{6, RIG_MEP, false, false},
};
inline constexpr std::array kControlWires = {
    Wire{0, RIG_CLEAR_MEP, true, true},
};

/// A wire from a control output back to a status input.
struct Loopback {
    std::uint8_t control;
    std::uint8_t status;
};
inline constexpr Loopback kPresence{0x08, 0x80};
inline constexpr Loopback kPower{0x04, 0x10};

class ParallelPort {
  public:
    ParallelPort(const LptSetup& start, Installation& camera);

    bool Has(std::uint16_t port) const;

    std::uint8_t Read(std::uint16_t port) const;
    void Write(std::uint16_t port, std::uint8_t value);

    /// Afterwards the outputs have the levels at which the lines rest.
    void LosePower();

  private:
    std::uint16_t OffsetOf(std::uint16_t port) const;
    std::uint8_t Status() const;

    const LptSetup setup;
    PinGroup data;
    PinGroup status;
    PinGroup control;
};

} // namespace rig::io
