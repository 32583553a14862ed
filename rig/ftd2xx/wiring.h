/// How the camera is wired to channel B of an FT2232H.
#pragma once

#include <array>
#include <span>

#include "pin_group.h"

namespace rig::usb {

/// The wires of a channel's two groups of eight pins in MPSSE mode, xDBUS (low) and xCBUS (high).
/// Pins without a wire read 1 because of the chip's pull-ups.
struct Wiring {
    std::span<const Wire> low;
    std::span<const Wire> high;
};

inline constexpr std::array kLowWires = {
    Wire{5, RIG_ACCESSORIES_POWER, false, false},
    Wire{6, RIG_CAMERA_POWER, false, false},
    Wire{7, RIG_DARK, true, false},
};

inline constexpr std::array kHighWires = {
    Wire{0, RIG_TRIGGER, true, true},       Wire{1, RIG_DARK, true, true},
    Wire{2, RIG_CAMERA_POWER, false, true}, Wire{3, RIG_ACCESSORIES_POWER, false, true},
    Wire{4, RIG_READY, true, false},        Wire{5, RIG_MEP, false, false},
    Wire{6, RIG_CLEAR_MEP, false, true},
};

inline constexpr Wiring kCameraWiring{kLowWires, kHighWires};

} // namespace rig::usb
