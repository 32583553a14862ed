/// The bank of eight GPIO pins of the Super I/O chip that carries the camera lines.
#pragma once

#include <cstdint>

#include "gpio_mobo_library.h"
#include "logger.h"
#include "pins.h"

namespace SLV::Internal {

struct GpioBank {
    explicit GpioBank(Logger& processLogger) : logger(processLogger) {}

    ChipRegister direction{0xEC}; ///< a 1 is an input
    ChipRegister data{0xED};      ///< bit n is pin n
    ChipRegister third{0xEE};     ///< read at set-up, never used
    ChipRegister fourth{0xEF};    ///< likewise
    Logger& logger;

    /// Reads all four registers up to the first that fails; the next access reports the failure.
    void ReadAll();

    // Both change the value that was last read, without reading again: only the library drives the
    // outputs.

    /// Sets an output; true when it reads back set.
    bool SetPin(PinId pin);
    /// Clears an output; true when it reads back clear.
    bool ClearPin(PinId pin);

    bool IsHigh(PinId pin) const { return (data.value >> pin & 1) != 0; }

    /// The pins as they were last read, upper case where the level is 1:
    /// "trg-RDY-MEP-CLR-drk-APW-CPW-PWS".
    LogText DescribeState() const;
};

} // namespace SLV::Internal
