/// What the documents say of timers on two threads, as rules over what happened.
#pragma once

#include <cstddef>
#include <string>

#include "timer_program.h"

namespace proof {

/// How often it came, over all schedules, to what surprises hosts.
struct Surprises {
    std::size_t lostStops = 0; ///< early stops: answered with success, and the run went on
    std::size_t lateStops =
        0; ///< of a run that was over: answered with success, and nothing came of it
    std::size_t stopsOfTheNext = 0; ///< meant for one run, they ended the next one
    std::size_t undelivered = 0;    ///< runs that ended without their last event
};

std::string Text(const Surprises& surprises);

/// What goes against the rules, empty if nothing does.
std::string Complaint(const TimerHistory& history, Surprises& surprises);

} // namespace proof
