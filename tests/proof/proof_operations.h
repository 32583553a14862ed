/// What a host can ask of the library: of a controller, and through the exports.
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

/// What an out-value holds that nobody has written.
inline constexpr short kUntouched = 55;

/// "A little over 3 s" is what an operation may take that gives up. Configuring a chip that is
/// silent is a mode change of 50 ms, two reads of 100 polls of 2 ms each and a write; then a read
/// goes unanswered as well, and the chip is waited for. In ms.
inline constexpr std::uint64_t kLongest = 50 + 2 * 200 + 2 + 200 + 3000;

} // namespace proof
