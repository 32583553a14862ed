/// Replaces the library's timers: their events come at planned moments in virtual time.
#pragma once

#include <cstdint>
#include <vector>

#include "functions.h"

namespace test {

/// After its last event a run keeps waiting, as in the real library, until the PlannedDriver is
/// destroyed. There can be only one PlannedDriver at a time.
class PlannedDriver {
  public:
    explicit PlannedDriver(std::vector<std::uint64_t> eventsAtMs, short statusOfEvents = 0);

    /// Ends a run that still waits, and blocks until its timer has been disposed of.
    ~PlannedDriver();
    PlannedDriver(const PlannedDriver&) = delete;
    PlannedDriver& operator=(const PlannedDriver&) = delete;

    /// Replaces the timer functions, and SetLogger to see whether the log was taken away.
    static void PutInto(host::Functions& functions);

    /// To be called after the clock has advanced: returns once all due events are delivered.
    static void Follow();

    bool wasLoggerTaken = false;
    bool isKeptLoaded = false;
};

} // namespace test
