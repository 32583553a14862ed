/// The camera lines on eight pins of a mainboard: their directions and their texts in the log.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "eapi.h"

namespace SLV::Internal {

enum PinId : std::uint8_t {
    Trigger_Pin,         ///< a high pulse of 10 ms takes a picture
    Ready_Pin,           ///< high while the system is ready
    Mep_Pin,             ///< low while the MEP flag is latched
    Clear_Mep_Pin,       ///< rests high, a short low pulse clears the latch
    ForceDark_Pin,       ///< high forces black; also pulsed to wake the camera
    PowerDown3_Pin,      ///< accessories power; its polarity is the back-end's
    PowerDown2_Pin,      ///< camera power, likewise
    PowerDown2Status_Pin ///< what camera power really is, likewise
};

struct Pin {
    PinId id;
    std::string_view name;
    std::uint32_t direction;
    std::string_view high; ///< the pin at 1 in a description of the bank
    std::string_view low;  ///< and at 0
};

inline constexpr std::array kPins{
    Pin{Trigger_Pin, "Trigger_Pin", EAPI_GPIO_OUTPUT, "TRG-", "trg-"},
    Pin{Ready_Pin, "Ready_Pin", EAPI_GPIO_INPUT, "RDY-", "rdy-"},
    Pin{Mep_Pin, "Mep_Pin", EAPI_GPIO_INPUT, "MEP-", "mep-"},
    Pin{Clear_Mep_Pin, "Clear_Mep_Pin", EAPI_GPIO_OUTPUT, "CLR-", "clr-"},
    Pin{ForceDark_Pin, "ForceDark_Pin", EAPI_GPIO_OUTPUT, "DRK-", "drk-"},
    Pin{PowerDown3_Pin, "PowerDown3_Pin", EAPI_GPIO_OUTPUT, "APW-", "apw-"},
    Pin{PowerDown2_Pin, "PowerDown2_Pin", EAPI_GPIO_OUTPUT, "CPW-", "cpw-"},
    Pin{PowerDown2Status_Pin, "PowerDown2Status_Pin", EAPI_GPIO_INPUT, "PWS", "pws"},
};

} // namespace SLV::Internal
