/// A timer of the driver's, for as long as its owner lives.
#pragma once

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

    int status = 0;
    std::vector<Event> events;
};

/// Runs a timer until so many events came, or until the program is told to stop.
TimerRunResult RunTimerFor(const Functions& library, std::uint32_t parameter, unsigned events);

} // namespace host
