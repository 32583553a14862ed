/// Timers of the kernel driver: the loop that waits for events and delivers them to the host.
#pragma once

#include <atomic>
#include <cstdint>

#include <solvane/solvane.h>

#include "kernel.h"

namespace Trel::SolvaneDriverLib {

/// One event as the driver reported it.
struct TimerEventRecord {
    std::uint8_t initialStatusOk;
    std::uint8_t reserved; ///< always 0
    std::int16_t status;   ///< in the driver's own codes
    std::uint16_t data0;
    std::uint16_t data1;
    std::uint16_t data2;
    std::uint16_t data3;
};

static_assert(sizeof(TimerEventRecord) == 12);
static_assert(sizeof(SolvaneTimerEvent) == 12, "the layout that hosts of every language declare");

/// Written by one thread while another reads it. It orders nothing else.
template <typename Value>
class Relaxed {
  public:
    explicit Relaxed(Value initial) : value(initial) {}
    Relaxed& operator=(Value next) {
        value.store(next, std::memory_order_relaxed);
        return *this;
    }
    operator Value() const { return value.load(std::memory_order_relaxed); }

  private:
    std::atomic<Value> value;
};

class HighResolutionTimerBase {
  public:
    /// Called for every event, on the thread that runs the timer.
    virtual void OnTimerEvent(const TimerEventRecord& record) = 0;

    /// Deletes a remaining driver timer and closes the device. If the driver refuses, the exception
    /// ends the process, on purpose: the timer would go on triggering with nobody to stop it.
    virtual ~HighResolutionTimerBase();

    HighResolutionTimerBase(const HighResolutionTimerBase&) = delete;
    HighResolutionTimerBase& operator=(const HighResolutionTimerBase&) = delete;

    /// Asks the loop to end, which it does at the driver's next event, or after OnTimerEvent() when
    /// called from there. Lost before the loop has begun to wait.
    void Stop() { running = false; }

  protected:
    /// Takes the open device over.
    explicit HighResolutionTimerBase(platform::HANDLE openDevice) : device(openDevice) {}

    /// Creates a driver timer, waits for its events until it is stopped, deletes it. When it throws
    /// a Win32Exception, the driver timer remains until destruction or the next run.
    void RunLoop(std::uint32_t timerParameter);

  private:
    void CreateDriverTimer(std::uint32_t timerParameter);
    void DeleteDriverTimer();
    void WaitForEvents(platform::HANDLE event);

    platform::HANDLE device;
    std::uint64_t timerId = 0; ///< 0: no driver timer
    std::uint32_t initialStatusOk = 0;

    Relaxed<bool> running{false}; ///< a stop comes from another thread or from the callback
    bool waiting = false;         ///< for the debugger
};

/// Marks the one kind of timer that the library has.
struct SOLVANE_Timer {};

template <typename Tag>
class HighResolutionTimer;

template <>
class HighResolutionTimer<SOLVANE_Timer> final : public HighResolutionTimerBase {
  public:
    using Adaptor = void (*)(void* context, const TimerEventRecord& record);

    HighResolutionTimer(platform::HANDLE openDevice, std::uint64_t hostContext)
        : HighResolutionTimerBase(openDevice), userContext(hostContext) {}

    void OnTimerEvent(const TimerEventRecord& record) override { adaptor(adaptorContext, record); }

    /// The blocking event loop.
    void Run(std::uint32_t timerParameter, void* context);

    void* adaptorContext = nullptr;
    Adaptor adaptor = nullptr;
    std::uint64_t userContext;
    Relaxed<SolvaneTimerCallback> callback{nullptr}; ///< null: the timer is not running
};

using SolvaneTimer = HighResolutionTimer<SOLVANE_Timer>;

/// The driver's status of a GPIO trigger in the library's own codes; an unknown one becomes -1,
/// with a line in the log.
std::int16_t TranslateDriverStatus(std::int16_t driverStatus);

} // namespace Trel::SolvaneDriverLib
