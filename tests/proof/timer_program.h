/// Programs of hosts whose two threads use timers, and what each of their calls met with.
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
    Run, ///< its function stops it at the latest
    Stop,
    Dispose,
    Give, ///< tells the other thread that it may go on
    Take  ///< waits until the other thread said so
};

struct ProgramStep {
    HostStep what;
    std::size_t timer = 0;
    std::size_t events = 0;     ///< of a run: after so many its function stops it
    bool stopsTheOther = false; ///< of a run: at its first event its function stops the other timer
};

struct TimerProgram {
    const char* name;
    std::array<std::vector<ProgramStep>, 2> threads;
    std::size_t timers; ///< that are there already
};

/// How it stands before the program, and what fails in it.
struct Circumstances {
    TimerState state = TimerState::Created; ///< of the timers that are there
    const rig_fault* fault = nullptr;
};

/// A call of a timer function.
struct TimerCall {
    HostStep what;
    std::size_t timer;
    std::size_t thread; ///< TwoThreads::kNeither: before or after the two
    std::size_t began = 0;
    std::size_t ended = 0;
    TimerObservation seen = {};
    std::vector<WatchedCall> calls = {};
    std::vector<std::size_t> delivered = {}; ///< the step of each event's arrival in the function
    std::vector<std::size_t> returned = {};  ///< of the function's return
    std::size_t flagWritten = 0;  ///< the step at which it first wrote `running`; 0: never
    std::size_t functionRead = 0; ///< likewise read the host's function, which tells of a run
};

/// What came of one schedule.
struct TimerHistory {
    std::vector<TimerCall> calls; ///< in the order in which they began
    std::size_t driverTimers = 0; ///< that the driver still has
    bool hasFailed = false;       ///< a call failed that was to
    std::string complaint;        ///< what no host may meet with, whatever it does
};

/// Runs a program in the present schedule of `twoThreads`, and disposes of its timers.
TimerHistory RunProgram(const TimerProgram& program, const Circumstances& circumstances);

/// Each call with what it met with, for a reader.
std::string Text(const TimerHistory& history);

} // namespace proof
