/// Calls a controller's operations as a host does, and checks the answers.
#pragma once

#include <cstddef>

#include "controller_operations.h"

namespace fuzz {

using SLV::Internal::SolvaneInterface;
using test::Op;
using test::Operation;

/// The result of a call.
struct Outcome {
    const Operation* operation;
    short status;
    short answer; ///< out value of a question; 0 when there is none
    bool isAnswered;
};

/// The answer to a question when no pin can be read: power is on, other lines are inactive.
short Unreadable(const Operation& operation);

/// Calls an operation and checks that the status is documented or one of `gate` (a set of
/// failures); that the answer is 0 or 1 after success, and untouched otherwise; and that the timer
/// resolution is restored.
Outcome Perform(SolvaneInterface& controller, std::size_t index, bool withoutPointer,
                unsigned gate);

} // namespace fuzz
