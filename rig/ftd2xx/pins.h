/// The sixteen pins of a channel in MPSSE mode.
#pragma once

#include "pin_group.h"
#include "wiring.h"

namespace rig::usb {

struct Pins {
    Pins(Installation& camera, const Wiring& wiring)
        : Pins(camera, std::array{wiring.low, wiring.high}) {}

    void Release() {
        low.Release();
        high.Release();
    }

    PinGroup low;  ///< xDBUS
    PinGroup high; ///< xCBUS

  private:
    Pins(Installation& camera, const std::array<std::span<const Wire>, 2>& groups)
        : low(camera, groups[0], kPulledUp, groups), high(camera, groups[1], kPulledUp, groups) {}

    static constexpr std::uint32_t kPulledUp = 0xff;
};

} // namespace rig::usb
