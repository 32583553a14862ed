/// What a host must see of a timer function, worked out from the calls of Windows that it made.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#define SOLVANE_NO_IMPORT
#include <solvane/solvane.h>

#include "kernel_stand_in.h"

namespace proof {

enum class TimerOp : std::uint8_t {
    Create,
    RunStoppedInside,  ///< by its own function, at the second event
    RunStoppedBetween, ///< after the first event; the second is not delivered
    RunStoppedEarly,   ///< before the driver has made its timer, which is lost; then as inside
    Stop,
    Dispose
};

constexpr bool IsRun(TimerOp op) {
    return op == TimerOp::RunStoppedInside || op == TimerOp::RunStoppedBetween ||
           op == TimerOp::RunStoppedEarly;
}

/// An event as the host's function gets it: status, whether all was well at first, four words.
using TimerEvent = std::array<int, 6>;

struct TimerObservation {
    int status = SOLVANE_OK;
    std::vector<std::string> log; ///< without the time
    std::vector<TimerEvent> events;
    bool operator==(const TimerObservation&) const = default;
};

std::string Text(const TimerObservation& observation);

using TimerTrace = std::vector<host::kernel::Made>;

/// The observation of a timer that is there and does not run.
TimerObservation Expected(TimerOp op, const TimerTrace& trace);

/// "DeviceIoControl failed: A sentence. (0x0000001f)", of the first call that failed; empty when
/// none did. The sentence is the system's, if it can be had.
std::string Reason(const TimerTrace& trace);

/// By which id the library can have the driver delete a timer; 0: it knows none. `before` is what
/// it knew before these calls.
std::uint64_t KnownTimer(std::uint64_t before, const TimerTrace& trace);

} // namespace proof
