/// A D2XX library that answers as a fuzzer input says, with a chip behind it that works where the
/// input lets it. It checks what it is called with: handles, lengths, commands.
#pragma once

#include <cstdint>

#include "fuzz_input.h"

namespace fuzz::d2xx {

/// Plugs in a new chip; the first bytes of the input are its pins.
void Begin(Input& input);

/// The chip and its library work from now on.
void Heal();

/// What a controller did since the last look.
struct Seen {
    unsigned readBytes = 0;  ///< successful FT_Read() calls
    unsigned writes = 0;     ///< attempts to set the lines
    unsigned triggers = 0;   ///< those with the trigger line high
    unsigned lostWrites = 0; ///< told to be complete, yet the chip has nothing of them
};
Seen TakeSeen();

/// The trigger line is high, as far as the chip was told.
bool IsTriggerHigh();

/// The level of the ready line on the healthy chip.
bool IsReady();

/// Handles that are open and of which none of the calls failed that excuse it: those that
/// initialise a channel, and the port reset.
unsigned InexcusablyOpen();

} // namespace fuzz::d2xx
