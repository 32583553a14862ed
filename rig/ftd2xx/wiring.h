/// How the camera hangs on channel B of an FT2232H.
#pragma once

#include <array>
#include <cstdint>

#include <solvane/rig.h>

namespace rig::usb {

/// The two groups of eight pins of a channel in MPSSE mode: xDBUS and xCBUS.
enum class Bank { Low, High };
inline constexpr unsigned kBanks = 2;
inline constexpr unsigned kPinsOfBank = 8;

struct Wire {
    Bank bank;
    std::uint8_t bit;
    rig_line line;
    bool activeLevel;    ///< the pin's level while the line is active
    bool isDrivenByChip; ///< else the chip can only read it
};

/// Pins that are not listed hang in the air; the chip's own pull-ups make them read 1.
inline constexpr std::array kCameraWiring = {
    Wire{Bank::High, 0, RIG_TRIGGER, true, true},
    Wire{Bank::High, 1, RIG_DARK, true, true},
    Wire{Bank::High, 2, RIG_CAMERA_POWER, false, true},
    Wire{Bank::High, 3, RIG_ACCESSORIES_POWER, false, true},
    Wire{Bank::High, 4, RIG_READY, true, false},
    Wire{Bank::High, 5, RIG_MEP, false, false},
    Wire{Bank::High, 6, RIG_CLEAR_MEP, false, true},
    Wire{Bank::Low, 5, RIG_ACCESSORIES_POWER, false, false},
    Wire{Bank::Low, 6, RIG_CAMERA_POWER, false, false},
    Wire{Bank::Low, 7, RIG_DARK, true, false},
};

} // namespace rig::usb
