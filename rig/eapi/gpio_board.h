/// A mainboard with GPIO pins. The first eight are wired to the camera.
#pragma once

#include <array>

#include "eapi_status.h"
#include "pin_group.h"
#include "scenario.h"

namespace rig::eapi {

/// The power pins switch power off, so they are active low.
inline constexpr std::array kBoardWires = {
    Wire{0, RIG_TRIGGER, true, true},       Wire{1, RIG_READY, true, false},
    Wire{2, RIG_MEP, false, false},         Wire{3, RIG_CLEAR_MEP, false, true},
    Wire{4, RIG_DARK, true, true},          Wire{5, RIG_ACCESSORIES_POWER, false, true},
    Wire{6, RIG_CAMERA_POWER, false, true}, Wire{7, RIG_CAMERA_POWER, false, false},
};

class GpioBoard {
  public:
    GpioBoard(const EapiSetup& start, Installation& camera);

    std::uint32_t Count() const { return setup.gpios; }

    // Each returns the status of the vendor function of the same name.
    EApiStatus_t SetDirection(EApiId_t id, std::uint32_t mask, std::uint32_t direction);
    EApiStatus_t GetLevel(EApiId_t id, std::uint32_t mask, std::uint32_t& level) const;
    EApiStatus_t SetLevel(EApiId_t id, std::uint32_t mask, std::uint32_t level);

    /// Makes the pins inputs, as after power-on.
    void LosePower();

  private:
    EApiStatus_t Check(EApiId_t id, std::uint32_t mask) const;
    void Change(std::uint32_t& bits, EApiId_t id, bool isSet);

    const EapiSetup setup;
    PinGroup pins;
    std::uint32_t latch = 0; ///< the levels of pins that are outputs, or become outputs
    std::uint32_t outputs = 0;
};

} // namespace rig::eapi
