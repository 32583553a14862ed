/// A mainboard that answers as a fuzzer input says, through the Embedded API and through I/O ports.
/// Behind the answers are eight pins that work where the input lets them.
#pragma once

#include <cstdint>

#include "fuzz_input.h"

namespace fuzz::board {

/// A new board; the first byte of the input is what its input pins read.
void Begin(Input& input);

/// Everything works from now on.
void Heal();

/// What a controller did since the last look.
struct Seen {
    unsigned reads = 0;        ///< successful readings of a pin, or of the bank of pins
    unsigned writes = 0;       ///< attempts to set pins
    unsigned triggers = 0;     ///< those with the trigger pin high
    bool isConfigured = false; ///< the pins were given their directions
    unsigned releases = 0;     ///< EApiLibUnInitialize() calls
    unsigned portWrites = 0;   ///< writes of the index port
    std::uint16_t lastIndex = 0;
};
Seen TakeSeen();

bool IsTriggerHigh();

/// The level of the ready pin of the healthy board.
bool IsReady();

} // namespace fuzz::board
