/// The library's calls of Windows, each of them a place where the thread may be preempted. The
/// linker puts this between the two.
#pragma once

#include <cstddef>
#include <functional>

#include "kernel_stand_in.h"

namespace proof {

struct WatchedCall {
    host::kernel::Made made;
    std::size_t arrived; ///< the thread's step when it got there
    std::size_t began;   ///< likewise when it went on, with nothing done yet
    std::size_t ended;
};

/// What is told of each call when it was made, on its thread.
extern std::function<void(WatchedCall)> onWatchedCall;

} // namespace proof
