#include "host_operations.h"

#include <cstdio>

#include "fuzz_check.h"
#include "host_platform.h"

namespace fuzz {

namespace {

/// Value of an out parameter before the call.
constexpr short kUntouched = 0x5A5A;

/// Whether an operation may return this status.
bool IsDocumented(Operation operation, bool withoutPointer, unsigned gate, short status) {
    if (operation.IsGated()) {
        operation.failures &= ~unsigned{IS_GATED | MAY_BE_INVALID | MAY_BE_UNDETERMINED};
        operation.failures |= gate | (withoutPointer ? MAY_BE_INVALID : NEVER_FAILS);
    }
    return operation.MayAnswer(status) && (status != 0 || !withoutPointer);
}

} // namespace

short Unreadable(const Operation& operation) {
    return operation.line == RIG_CAMERA_POWER || operation.line == RIG_ACCESSORIES_POWER ? 1 : 0;
}

Outcome Perform(SolvaneInterface& controller, std::size_t index, bool withoutPointer,
                unsigned gate) {
    const Operation& operation =
        test::kControllerOperations[index % test::kControllerOperations.size()];
    const bool isWithoutPointer = operation.hasAnswer && withoutPointer;
    short out = kUntouched;
    const short status = operation.run(controller, isWithoutPointer ? nullptr : &out);

    if (!IsDocumented(operation, isWithoutPointer, gate, status)) {
        std::fprintf(stderr, "%s: %d\n", operation.name, status);
        Check(false, "a status is documented");
    }
    const bool isAnswered = operation.hasAnswer && status == 0;
    Check(isAnswered ? out == 0 || out == 1 : out == kUntouched,
          "an answer is 0 or 1 after success and untouched otherwise");
    Check(host::RaisedTimerPeriods() == 0, "the timer resolution is as before");
    return {&operation, status, isAnswered ? out : short{0}, isAnswered};
}

} // namespace fuzz
