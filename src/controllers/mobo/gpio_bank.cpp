#include "gpio_bank.h"

namespace SLV::Internal {

void GpioBank::ReadAll() {
    for (ChipRegister* const chipRegister : {&direction, &data, &third, &fourth}) {
        const std::uint16_t value = s_gpioMobo.ReadRegister(chipRegister->index);
        if (!s_gpioMobo.IsGood(value)) {
            return;
        }
        chipRegister->value = value;
    }
}

bool GpioBank::SetPin(PinId pin) {
    if (!s_gpioMobo.WriteRegister(data, static_cast<std::uint8_t>(data.value | 1U << pin))) {
        logger.Line("[KTRN]: SetPin() failed to write to I/O register.");
        return false;
    }
    return IsHigh(pin);
}

bool GpioBank::ClearPin(PinId pin) {
    if (!s_gpioMobo.WriteRegister(data, static_cast<std::uint8_t>(data.value & ~(1U << pin)))) {
        logger.Line("[KTRN]: ClearPin() failed to write to I/O register.");
        return false;
    }
    return !IsHigh(pin);
}

LogText GpioBank::DescribeState() const {
    LogText text;
    for (const Pin& pin : kPins) {
        text << (IsHigh(pin.id) ? pin.high : pin.low);
    }
    return text;
}

} // namespace SLV::Internal
