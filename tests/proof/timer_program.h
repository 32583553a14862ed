/// Programs of hosts whose two threads use timers, and the history of their calls.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "timer_driver.h"
#include "timer_host.h"
#include "timer_observation.h"
#include "watched_calls.h"

namespace proof {

enum class HostStep : std::uint8_t {
    Create,
    Run, ///< until it is stopped, at the latest by its own function
    Stop,
    Dispose,
    Give, ///< signals the other thread
    Take  ///< waits for that signal
};

struct ProgramStep {
    HostStep what;
    std::size_t timer = 0;
    std::size_t events = 0;     ///< a run's function stops the run after so many events
    bool stopsTheOther = false; ///< a run's function stops the other timer at its first event
};

struct TimerProgram {
    const char* name;
    std::array<std::vector<ProgramStep>, 2> threads;
    std::size_t timers; ///< that exist before
};

/// The state before the program, and the fault in it.
struct Circumstances {
    TimerState state = TimerState::Created; ///< of the timers that exist before
    const rig_fault* fault = nullptr;
};

/// A call of a timer function.
struct TimerCall {
    HostStep what;
    std::size_t timer;
    std::size_t thread; ///< ThreadScheduler::kNeither: before or after the two
    std::size_t began = 0;
    std::size_t ended = 0;
    TimerObservation seen = {};
    std::vector<WatchedCall> calls = {};
    std::vector<std::size_t> delivered = {}; ///< the step of each event's arrival in the function
    std::vector<std::size_t> returned = {};  ///< of the function's return
    std::size_t flagWritten = 0;  ///< the step at which it first wrote `running`; 0: never
    std::size_t functionRead = 0; ///< likewise read the host's function, which is set during a run
};

/// The outcome of one schedule.
struct TimerHistory {
    std::vector<TimerCall> calls; ///< in the order in which they began
    std::size_t driverTimers = 0; ///< left in the driver
    bool hasFailed = false;       ///< the planned fault occurred
    std::string complaint;        ///< a violation whatever the program: a race, a leak, a deadlock
};

/// Runs a program in the present schedule of `scheduler`, and disposes of its timers.
TimerHistory RunProgram(const TimerProgram& program, const Circumstances& circumstances);

/// The steps of the history, a line each.
std::string Text(const TimerHistory& history);

} // namespace proof
