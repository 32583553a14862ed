#include "driver_timer.h"

#include <chrono>

namespace host {

namespace {

/// The run that is in progress; the context of an event leads to it.
struct RunInProgress {
    const DriverTimer& timer;
    const unsigned most;
    std::chrono::steady_clock::time_point last = SteadyNow();
    TimerRunResult result{};

    void Receive(const SolvaneTimerEvent& event) {
        const auto now = SteadyNow();
        if (result.events.size() < most) {
            result.events.push_back(
                {std::chrono::duration<double, std::milli>(now - last).count(), event.status});
        }
        last = now;
        if (result.events.size() == most || StopToken().stop_requested()) {
            timer.Stop();
        }
    }
};

RunInProgress* current = nullptr;

void SOLVANE_CALL OnEvent(std::uint64_t, const SolvaneTimerEvent* event) noexcept {
    current->Receive(*event); // on the thread of the run
}

} // namespace

TimerRunResult RunTimerFor(const Functions& library, std::uint32_t parameter, unsigned events) {
    const DriverTimer timer(library, 0);
    if (timer.Status() != SOLVANE_OK) {
        return {timer.Status(), {}};
    }
    RunInProgress run{timer, events};
    run.result.events.reserve(events); // an event's function must not throw
    current = &run;
    const std::stop_callback stopping(StopToken(), [&] { timer.Stop(); });
    run.result.status = timer.Run(parameter, OnEvent);
    current = nullptr;
    return std::move(run.result);
}

} // namespace host
