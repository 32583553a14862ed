/// When an operation may answer 0 although not all is as it was asked for: because nobody can tell,
/// or because hosts know that they are not told. Decided from the fault, never from what came of
/// it.
#pragma once

#include <string>

#include "planned_faults.h"
#include "postcondition.h"

namespace proof {

const char* Name(Untold cause);

/// Why the operation may violate that under that fault. `isRepair`: the chip is being brought back
/// already when the operation begins.
Untold CauseOf(const Kind& kind, const Operation& operation, bool isRepair,
               const PlannedFault& planned, Violation violation);

/// The same of an FT2232H that is away from the call on that asks this.
Untold CauseOfAbsence(const Operation& operation, const std::string& question, bool isSilent,
                      bool isBackAtOnce, Violation violation);

} // namespace proof
