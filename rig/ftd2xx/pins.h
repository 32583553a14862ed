/// The sixteen pins of a channel in MPSSE mode.
#pragma once

#include "pin_group.h"
#include "wiring.h"

namespace rig::usb {

struct Pins {
    Pins(Installation& camera, const Wiring& wiring)
        : low(camera, wiring.low, kPulledUp), high(camera, wiring.high, kPulledUp) {}

    void Release() {
        low.Release();
        high.Release();
    }

    PinGroup low;  ///< xDBUS
    PinGroup high; ///< xCBUS

  private:
    static constexpr std::uint32_t kPulledUp = 0xff;
};

} // namespace rig::usb
