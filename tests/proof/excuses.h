/// When an operation may answer 0 although its postcondition is violated: the fault cannot be
/// detected, or the interface does not report it. Decided from the fault, never from the outcome.
#pragma once

#include <string>

#include "planned_faults.h"
#include "postcondition.h"

namespace proof {

const char* Name(Excuse excuse);

/// The excuse for this violation under this fault. `isRepair`: the operation begins with the
/// recovery of the chip.
Excuse ExcuseFor(const Kind& kind, const Operation& operation, bool isRepair,
                 const PlannedFault& planned, Violation violation);

/// The same for an FT2232H that is absent from the call with this question on.
Excuse ExcuseForAbsence(const Operation& operation, const std::string& question, bool isSilent,
                        bool isBackAtOnce, Violation violation);

} // namespace proof
