/// The operations of a controller, and through the exports.
#pragma once

#include <cstdint>

#include "controller_operations.h"

namespace proof {

using test::kControllerOperations;
using test::kOperations;
using test::Op;
using test::Operation;

/// The exported function of an operation; 0 for one that returns nothing.
std::int16_t CallExport(const Operation& operation, std::int16_t* out);

/// Leaves the outputs of the first FT2232H active, as another program may have. The camera is ready
/// again afterwards.
void LeaveOutputsActive();

/// The value of an out-parameter before the call.
inline constexpr short kUntouched = 55;

/// The "little over 3 s" after which an operation gives up, in ms: configuring a silent chip takes
/// a mode change of 50 ms, two reads of 100 polls of 2 ms and a write; then a read goes unanswered,
/// and the library waits for the chip.
inline constexpr std::uint64_t kLongest = 50 + 2 * 200 + 2 + 200 + 3000;

} // namespace proof
