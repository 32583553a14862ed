/// The timer functions of the public header. No std::exception leaves them.

#define SOLVANE_NO_IMPORT // they are exported by solvane.def
#include <solvane/solvane.h>

#include <exception>

#include "driver_protocol.h"
#include "high_resolution_timer.h"
#include "logger.h"
#include "win32_exception.h"

using namespace Trel::SolvaneDriverLib;
using SLV::Internal::s_logger;

namespace {

SolvaneTimer* TimerOf(std::uint64_t handle) {
    return reinterpret_cast<SolvaneTimer*>(static_cast<std::uintptr_t>(handle));
}

std::uint64_t HandleOf(const SolvaneTimer* timer) {
    return reinterpret_cast<std::uintptr_t>(timer);
}

platform::HANDLE OpenDevice() {
    const platform::HANDLE device =
        platform::CreateFileW(kDeviceName, GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                              FILE_FLAG_OVERLAPPED, nullptr);
    if (device == INVALID_HANDLE_VALUE) {
        throw Win32Exception("Error in CreateFile: ");
    }
    return device;
}

/// A timer counts as running while it has the host's function.
class ScopedCallback {
  public:
    ScopedCallback(SolvaneTimer& ofTimer, SolvaneTimerCallback callback) : timer(ofTimer) {
        timer.callback = callback;
    }
    ~ScopedCallback() { timer.callback = nullptr; }
    ScopedCallback(const ScopedCallback&) = delete;
    ScopedCallback& operator=(const ScopedCallback&) = delete;

  private:
    SolvaneTimer& timer;
};

} // namespace

int16_t SOLVANE_CALL Solvane_CreateTimer(uint64_t* timer, uint64_t userContext) {
    if (timer == nullptr) {
        return SOLVANE_E_INVALID;
    }
    try {
        *timer = HandleOf(new SolvaneTimer(OpenDevice(), userContext));
        return SOLVANE_OK;
    } catch (const std::exception& exception) {
        s_logger.Line("Error. Solvane_CreateTimer() failed with exception: ", exception.what());
        return SOLVANE_E_UNDETERMINED;
    }
}

int16_t SOLVANE_CALL Solvane_RunTimer(uint64_t timer, uint32_t timerParameter,
                                      SolvaneTimerCallback callback) {
    if (timer == 0) {
        s_logger.Line("Error. Solvane_RunTimer() got invalid timer handler. ");
        return SOLVANE_E_INVALID;
    }
    if (callback == nullptr) {
        s_logger.Line("Error. Solvane_RunTimer() got invalid timer callback. ");
        return SOLVANE_E_INVALID;
    }
    SolvaneTimer& object = *TimerOf(timer);
    try {
        const ScopedCallback running(object, callback);
        object.Run(timerParameter, &object);
        return SOLVANE_OK;
    } catch (const std::exception& exception) {
        s_logger.Line("Error. Solvane_RunTimer() failed with exception: ", exception.what());
        return SOLVANE_E_UNDETERMINED;
    }
}

int16_t SOLVANE_CALL Solvane_StopTimer(uint64_t timer) {
    try {
        if (timer == 0) {
            s_logger.Line("Error. Solvane_StopTimer() got invalid timer handler. ");
            return SOLVANE_E_INVALID;
        }
        SolvaneTimer& object = *TimerOf(timer);
        if (object.callback == nullptr) {
            s_logger.Line("Error. Solvane_StopTimer() timer was not started. ");
            return SOLVANE_E_INVALID;
        }
        object.Stop();
        return SOLVANE_OK;
    } catch (const std::exception& exception) {
        s_logger.Line("Error. Solvane_StopTimer() failed with exception: ", exception.what());
        return SOLVANE_E_UNDETERMINED;
    }
}

int16_t SOLVANE_CALL Solvane_DisposeTimer(uint64_t timer) {
    if (timer == 0) {
        // A frozen text: it names the stop export.
        s_logger.Line("Error. Solvane_StopTimer() got invalid timer handler. ");
        return SOLVANE_E_INVALID;
    }
    // Logs "timer was not started" for a timer that does not run; the line is expected.
    Solvane_StopTimer(timer);
    SolvaneTimer* const object = TimerOf(timer);
    object->userContext = 0;
    delete object;
    return SOLVANE_OK;
}
