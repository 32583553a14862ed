#include "driver_timer.h"

#include <algorithm>
#include <memory>
#include <mutex>
#include <thread>

namespace host {

namespace {

/// A timer run on its own thread, which may outlive the caller that waits for it.
class TimerRun {
  public:
    TimerRun(const Functions& ofLibrary, unsigned mostEvents)
        : library(ofLibrary), most(mostEvents) {
        result.events.reserve(most); // the callback must not throw, so it must not allocate
        result.status = library.CreateTimer(
            &handle, static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(this)));
        isOver = result.status != SOLVANE_OK;
    }

    bool IsOver() const {
        const std::lock_guard lock(mutex);
        return isOver;
    }

    /// Runs on the thread of the run.
    void Perform(std::uint32_t parameter) {
        const int status = library.RunTimer.EvenIfStopped(handle, parameter, OnEvent);
        {
            const std::lock_guard lock(mutex);
            isOver = true;
            result.status = status;
        }
        library.DisposeTimer(handle);
    }

    /// The result so far. A run still in progress ends at the driver's next event.
    TimerRunResult End() {
        const std::lock_guard lock(mutex);
        if (!isOver) {
            library.SetLogger(nullptr, nullptr); // the log object may be gone before the run ends
            library.StopTimer(handle);
            KeepLoaded(library);
        }
        return result;
    }

  private:
    static void SOLVANE_CALL OnEvent(std::uint64_t context,
                                     const SolvaneTimerEvent* event) noexcept {
        reinterpret_cast<TimerRun*>(static_cast<std::uintptr_t>(context))->Receive(*event);
    }

    void Receive(const SolvaneTimerEvent& event) {
        const auto now = SteadyNow();
        const std::lock_guard lock(mutex);
        if (result.events.size() < most) {
            result.events.push_back(
                {std::chrono::duration<double, std::milli>(now - last).count(), event.status});
        }
        last = now;
        if (result.events.size() == most) {
            library.StopTimer(handle);
        }
    }

    const Functions library; ///< copied: stays valid after the program releases the library
    const unsigned most;
    SolvaneTimerHandle handle = 0;
    std::chrono::steady_clock::time_point last = SteadyNow(); ///< last event, or beginning

    mutable std::mutex mutex;
    bool isOver = false;
    TimerRunResult result;
};

} // namespace

TimerRunResult RunTimerFor(const Functions& library, std::uint32_t parameter, unsigned events,
                           std::chrono::milliseconds most) {
    constexpr std::chrono::milliseconds kPoll{5};
    const auto run = std::make_shared<TimerRun>(library, events);
    if (!run->IsOver()) {
        // The thread works when it is detached: of one that ends meanwhile, mingw-w64's winpthreads
        // gives the record to two later threads.
        const auto beginning = std::make_shared<std::mutex>();
        const std::lock_guard isBeginning(*beginning);
        std::thread([run, parameter, beginning] {
            { const std::lock_guard isDetached(*beginning); }
            run->Perform(parameter);
        }).detach();
    }
    const auto deadline = SteadyNow() + most;
    while (!run->IsOver() && SteadyNow() < deadline && !IsStopRequested()) {
        SleepUntil(std::min(deadline, SteadyNow() + kPoll));
    }
    TimerRunResult result = run->End();
    EndIfStopped();
    return result;
}

} // namespace host
