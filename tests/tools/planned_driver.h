/// The library's timers on a kernel driver whose events are planned, in virtual time.
#pragma once

#include <cstdint>
#include <vector>

#include "functions.h"

namespace test {

/// Its timer gives its events when the virtual clock says so, and none after the last: then the
/// run stays in the library, as a real one does, until this goes. One at a time.
class PlannedDriver {
  public:
    explicit PlannedDriver(std::vector<std::uint64_t> eventsAtMs, short statusOfEvents = 0);

    /// Sees to it that a timer that was created has been disposed of.
    ~PlannedDriver();
    PlannedDriver(const PlannedDriver&) = delete;
    PlannedDriver& operator=(const PlannedDriver&) = delete;

    /// Makes them the timer functions of the library, whose SetLogger this sees, too.
    static void PutInto(host::Functions& functions);

    /// To be called when the clock has moved: returns when what is due by now was delivered.
    static void Follow();

    bool wasLoggerTaken = false;
    bool isKeptLoaded = false;
};

} // namespace test
