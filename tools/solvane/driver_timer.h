/// A timer of the kernel driver, disposed of with its owner; and a timer run with a time limit.
#pragma once

#include <chrono>
#include <cstdint>
#include <vector>

#include "functions.h"

namespace host {

class DriverTimer {
  public:
    DriverTimer(const Functions& ofLibrary, std::uint64_t context)
        : library(ofLibrary), status(library.CreateTimer(&handle, context)) {}
    ~DriverTimer() {
        if (status == SOLVANE_OK) {
            library.DisposeTimer(handle);
        }
    }
    DriverTimer(const DriverTimer&) = delete;
    DriverTimer& operator=(const DriverTimer&) = delete;

    int Status() const { return status; }

    int Run(std::uint32_t parameter, SolvaneTimerCallback callback) const {
        return library.RunTimer(handle, parameter, callback);
    }

    void Stop() const { library.StopTimer(handle); }

  private:
    const Functions& library;
    SolvaneTimerHandle handle = 0; // declared before `status`, whose initialiser sets it
    const int status;
};

struct TimerRunResult {
    struct Event {
        double afterMs; ///< since the previous event, or the beginning of the run
        int status;     ///< of the driver's trigger
    };

    int status = 0; ///< of the library; 0 while the run lasts
    std::vector<Event> events;
};

/// Runs a timer for a number of events, or until time is up. Only a driver event can end a run in
/// the library, so a run that times out stays in there: the library is then kept loaded, without
/// log. Throws Stopped when the program was asked to stop meanwhile.
TimerRunResult RunTimerFor(const Functions& library, std::uint32_t parameter, unsigned events,
                           std::chrono::milliseconds most);

/// Keeps the library loaded until the process ends.
void KeepLoaded(const Functions& library);

} // namespace host
