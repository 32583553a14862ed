/// A timer of the driver's, for as long as its owner lives; and a run of one that is not waited for
/// for ever.
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
    SolvaneTimerHandle handle = 0; // before the status, whose call sets it
    const int status;
};

struct TimerRunResult {
    struct Event {
        double afterMs; ///< since the last one, or since the run began
        int status;     ///< of the driver's trigger
    };

    int status = 0; ///< of the library; 0 while the run lasts
    std::vector<Event> events;
};

/// Runs a timer until so many events came, or until time is up. Nothing but an event of the
/// driver's ends a run: one that is given up stays in the library, which is then kept loaded and
/// logs no more. Throws Stopped when the program was told to stop meanwhile.
TimerRunResult RunTimerFor(const Functions& library, std::uint32_t parameter, unsigned events,
                           std::chrono::milliseconds most);

/// Keeps the library loaded until the process ends.
void KeepLoaded(const Functions& library);

} // namespace host
