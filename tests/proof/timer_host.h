/// A host that uses timers, on a driver that works until a fault is planned; and the driver's
/// timers that it must have.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "planned_faults.h"
#include "timer_driver.h"
#include "timer_observation.h"

namespace proof {

/// What the host has done with its timer; before Solvane_CreateTimer, with another one.
enum class TimerState : std::uint8_t {
    Nothing,
    Created,
    Stopped,       ///< it ran and was stopped
    CreateRefused, ///< a run failed: the driver created no timer
    LeftBehind,    ///< a run failed: the driver has a timer
    DeleteRefused, ///< a run failed at its end: the driver kept its timer
    BesideARun     ///< created, while another timer runs, whose function makes the call
};

class TimerHost {
  public:
    TimerHost();
    ~TimerHost();
    TimerHost(const TimerHost&) = delete;
    TimerHost& operator=(const TimerHost&) = delete;

    /// A fresh start, up to the operation.
    void Start(TimerState state, TimerOp op);

    struct Call {
        TimerObservation seen;
        TimerTrace trace;
        std::vector<PlannedFault> plannedFaults; ///< every way in which its Windows calls can fail
        std::uint32_t failures = 0;              ///< calls that failed
    };

    /// Performs the operation with these faults.
    Call Do(TimerOp op, const std::vector<const PlannedFault*>& faults, bool wantsFaults = false);

    /// Whether the operation succeeds, with the expected observation.
    bool Works(TimerOp op);

    /// Disposes of the other timer, if there is one.
    bool DisposesOfOther();

    bool HasTimer() const;
    SolvaneTimerHandle Handle() const { return own->handle; }

    /// The driver's timer that the library knows; 0: none.
    std::uint64_t known = 0;
    std::size_t overwritten = 0; ///< driver's timers that another run replaced
    std::ptrdiff_t leftOpen = 0; ///< handles that could not be closed
    TimerDriver driver;

  private:
    struct Timer {
        SolvaneTimerHandle handle = 0;
        TimerOp run = TimerOp::RunStoppedInside;
        std::vector<TimerEvent> events = {};
        std::function<void()> beside = nullptr; ///< called at its first event
    };

    static void SOLVANE_CALL Receive(std::uint64_t context, const SolvaneTimerEvent* event);
    static void Stop(const Timer& timer);

    int CallExport(TimerOp op);
    Call DoAlone(TimerOp op, const std::vector<const PlannedFault*>& faults, bool wantsFaults);
    void Discard();
    void FailToRun(const char* function);
    void Follow(const TimerTrace& trace);

    bool isBesideARun = false;
    Timer timers[2];
    Timer* own = timers;
    Timer* other = timers + 1;
    std::vector<std::string> lines;
};

/// How often a function was called, with or without success.
std::ptrdiff_t Count(const TimerTrace& trace, std::string_view function, bool isDone);

} // namespace proof
