/// What the documents promise of timers on two threads, as invariants of a history.
#pragma once

#include <cstddef>
#include <string>

#include "timer_program.h"

namespace proof {

/// Documented behaviour that surprises hosts, counted over all schedules.
struct Surprises {
    std::size_t lostStops = 0;      ///< early stops: they succeeded, and the run continued
    std::size_t lateStops = 0;      ///< of a run that was over: they succeeded, without effect
    std::size_t stopsOfTheNext = 0; ///< meant for one run, they ended the next one
    std::size_t undelivered = 0;    ///< runs that ended without their last event
};

std::string Text(const Surprises& surprises);

/// The violated invariant; empty if there is none.
std::string Complaint(const TimerHistory& history, Surprises& surprises);

} // namespace proof
