/// The operations of a controller as a host uses them, each with what a host may be answered.
#pragma once

#include <cstddef>

#include "controller_operations.h"

namespace fuzz {

using SLV::Internal::SolvaneInterface;
using test::Op;
using test::Operation;

/// What a host saw of a call.
struct Outcome {
    const Operation* operation;
    short status;
    short answer; ///< of a question; 0 when there is none
    bool isAnswered;
};

/// Of a question: the answer when no pin can be read. Power is on, the rest is inactive.
short Unreadable(const Operation& operation);

/// Calls an operation and checks what came of it: a documented status, or one of the gate's (as the
/// failures of an operation); an answer of 0 or 1 when it succeeded, an untouched value when it did
/// not; the timer resolution as it was before.
Outcome Perform(SolvaneInterface& controller, std::size_t index, bool withoutPointer,
                unsigned gate);

} // namespace fuzz
