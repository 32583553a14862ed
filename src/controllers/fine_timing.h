/// The 1 ms timer resolution that short pulses need.
#pragma once

#include "multimedia_timer.h"

namespace SLV::Internal {

/// Raises the system timer resolution to 1 ms while it lives, so that Sleep(10) takes 10 ms and not
/// the 15.6 ms of an idle system. It costs the whole machine power: keep the scope short.
class FineTiming {
  public:
    FineTiming() { platform::timeBeginPeriod(kMilliseconds); }
    ~FineTiming() { platform::timeEndPeriod(kMilliseconds); }
    FineTiming(const FineTiming&) = delete;
    FineTiming& operator=(const FineTiming&) = delete;

  private:
    static constexpr unsigned kMilliseconds = 1;
};

} // namespace SLV::Internal
