/// What a host must observe of a timer function, derived from the Windows calls that it made.
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
    RunStoppedEarly, ///< before the driver has created its timer: that stop is lost; then as inside
    Stop,
    Dispose
};

constexpr bool IsRun(TimerOp op) {
    return op == TimerOp::RunStoppedInside || op == TimerOp::RunStoppedBetween ||
           op == TimerOp::RunStoppedEarly;
}

/// An event as the host's function gets it: status, initialStatusOk, four words.
using TimerEvent = std::array<int, 6>;

struct TimerObservation {
    int status = SOLVANE_OK;
    std::vector<std::string> log; ///< without the time
    std::vector<TimerEvent> events;
    bool operator==(const TimerObservation&) const = default;
};

std::string Text(const TimerObservation& observation);

using TimerTrace = std::vector<host::kernel::CallRecord>;

/// The observation of an operation on a timer that does not run.
TimerObservation Expected(TimerOp op, const TimerTrace& trace);

/// "DeviceIoControl failed: A sentence. (0x0000001f)" for the first call that failed; empty when
/// none did. Without the system's sentence if that could not be obtained.
std::string Reason(const TimerTrace& trace);

/// The id of the driver's timer that the library knows after these calls; 0: none. `before`: the id
/// that it knew before.
std::uint64_t KnownTimer(std::uint64_t before, const TimerTrace& trace);

} // namespace proof
