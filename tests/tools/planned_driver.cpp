#include "planned_driver.h"

#include <condition_variable>
#include <mutex>

#include "driver_timer.h"
#include "host_platform.h"

namespace test {

namespace {

enum class Timer {
    none,
    created, ///< its run will begin on another thread
    waiting, ///< its run waits for the next event
    delivering,
    disposed
};

std::mutex mutex;
std::condition_variable changed;
PlannedDriver* driver = nullptr;
std::vector<std::uint64_t> dueMs;
std::uint64_t beganMs = 0;
short eventStatus = 0;
Timer timer = Timer::none;
bool isStopped = false;
bool isGoing = false; ///< the driver is being destroyed; waits must end

std::uint64_t NowMs() {
    return host::Now() / 1'000'000;
}

bool IsDue() {
    return !dueMs.empty() && NowMs() >= beganMs + dueMs.front();
}

short SOLVANE_CALL Create(SolvaneTimerHandle* handle, std::uint64_t context) {
    const std::lock_guard lock(mutex);
    timer = Timer::created;
    beganMs = NowMs();
    *handle = context; // the handle is passed back as the callback's context
    return 0;
}

short SOLVANE_CALL RunPlanned(SolvaneTimerHandle handle, std::uint32_t,
                              SolvaneTimerCallback callback) {
    std::unique_lock lock(mutex);
    while (!isStopped) {
        timer = Timer::waiting;
        changed.notify_all();
        changed.wait(lock, [] { return IsDue() || isGoing; });
        if (isGoing) {
            break;
        }
        timer = Timer::delivering;
        dueMs.erase(dueMs.begin());
        if (!isStopped) {
            lock.unlock(); // the callback may stop the timer
            const SolvaneTimerEvent event{eventStatus, 1, 0, 0, 0, 0};
            callback(handle, &event);
            lock.lock();
        }
    }
    return 0;
}

short SOLVANE_CALL Stop(SolvaneTimerHandle) {
    const std::lock_guard lock(mutex);
    isStopped = true;
    return 0;
}

short SOLVANE_CALL Dispose(SolvaneTimerHandle) {
    const std::lock_guard lock(mutex);
    timer = Timer::disposed;
    changed.notify_all();
    return 0;
}

void SOLVANE_CALL SetLogger(void*, SolvaneLogCallback callback) {
    driver->wasLoggerTaken = callback == nullptr;
}

} // namespace

PlannedDriver::PlannedDriver(std::vector<std::uint64_t> eventsAtMs, short statusOfEvents) {
    driver = this;
    dueMs = std::move(eventsAtMs);
    eventStatus = statusOfEvents;
    timer = Timer::none;
    isStopped = isGoing = false;
}

PlannedDriver::~PlannedDriver() {
    std::unique_lock lock(mutex);
    isGoing = true;
    changed.notify_all();
    changed.wait(lock, [] { return timer == Timer::none || timer == Timer::disposed; });
    driver = nullptr;
}

void PlannedDriver::PutInto(host::Functions& functions) {
    functions.CreateTimer.function = Create;
    functions.RunTimer.function = RunPlanned;
    functions.StopTimer = Stop;
    functions.DisposeTimer = Dispose;
    functions.SetLogger = SetLogger;
}

void PlannedDriver::Follow() {
    std::unique_lock lock(mutex);
    if (driver == nullptr) {
        return;
    }
    changed.notify_all();
    changed.wait(lock, [] {
        return timer == Timer::none || timer == Timer::disposed ||
               (timer == Timer::waiting && !IsDue());
    });
}

} // namespace test

namespace host {

void KeepLoaded(const Functions&) {
    test::driver->isKeptLoaded = true;
}

} // namespace host
