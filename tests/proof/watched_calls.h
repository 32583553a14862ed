/// Wraps the library's calls of Windows (-Wl,--wrap): records each, and lets the scheduler preempt
/// the thread there.
#pragma once

#include <cstddef>
#include <functional>

#include "kernel_stand_in.h"

namespace proof {

struct WatchedCall {
    host::kernel::CallRecord record;
    std::size_t arrived; ///< the step at which the thread reached the call
    std::size_t began;   ///< and entered it, after a possible preemption
    std::size_t ended;
};

/// Receives each call after it returned, on its thread.
extern std::function<void(WatchedCall)> onWatchedCall;

} // namespace proof
