#include "host_operations.h"

#include <cstdio>

#include "fuzz_check.h"
#include "host_platform.h"

namespace fuzz {

namespace {

using namespace SLV::Internal;

template <short (SolvaneInterface::*Member)()>
short Plain(SolvaneInterface& controller, short*) {
    return (controller.*Member)();
}

template <short (SolvaneInterface::*Member)(short*)>
short Question(SolvaneInterface& controller, short* out) {
    return (controller.*Member)(out);
}

constexpr Statuses kGood(kOk);
constexpr Statuses kWriting(kOk, kWriteFailed);
constexpr Statuses kTriggering(kOk, kWriteFailed, kNotReady);

/// What an out value holds before the call.
constexpr short kUntouched = 0x5A5A;

} // namespace

const std::array<Operation, 17> kOperations{{
    {"CheckAvailable", Plain<&SolvaneInterface::CheckAvailable>, Does::Act, kGood, true, 0},
    {"CheckPowerControlAvailable", Plain<&SolvaneInterface::CheckPowerControlAvailable>, Does::Act,
     kGood, true, 0},
    {"TriggerCapture", Plain<&SolvaneInterface::TriggerCapture>, Does::Trigger, kTriggering, true,
     0},
    {"EnableForcedBlackUpdate", Plain<&SolvaneInterface::EnableForcedBlackUpdate>, Does::Act,
     kWriting, true, 0},
    {"DisableForcedBlackUpdate", Plain<&SolvaneInterface::DisableForcedBlackUpdate>, Does::Act,
     kWriting, true, 0},
    {"CheckAndResetMepFlag", Question<&SolvaneInterface::CheckAndResetMepFlag>, Does::Ask, kGood,
     true, 0},
    {"CheckSystemReady", Question<&SolvaneInterface::CheckSystemReady>, Does::Ask, kGood, true, 0},
    {"CheckForcedBlackUpdate", Question<&SolvaneInterface::CheckForcedBlackUpdate>, Does::Ask,
     kGood, true, 0},
    {"WakeCamera", Plain<&SolvaneInterface::WakeCamera>, Does::Act, kWriting, true, 0},
    {"EnableCameraPower", Plain<&SolvaneInterface::EnableCameraPower>, Does::Act, kWriting, true,
     0},
    {"DisableCameraPower", Plain<&SolvaneInterface::DisableCameraPower>, Does::Act, kWriting, true,
     0},
    {"CheckCameraPower", Question<&SolvaneInterface::CheckCameraPower>, Does::Ask, kGood, true, 1},
    {"EnableAccessoriesPower", Plain<&SolvaneInterface::EnableAccessoriesPower>, Does::Act,
     kWriting, true, 0},
    {"DisableAccessoriesPower", Plain<&SolvaneInterface::DisableAccessoriesPower>, Does::Act,
     kWriting, true, 0},
    {"CheckAccessoriesPower", Question<&SolvaneInterface::CheckAccessoriesPower>, Does::Ask, kGood,
     true, 1},
    {"CloseDevice", Plain<&SolvaneInterface::CloseDevice>, Does::Act, kGood, false, 0},
    {"ResetComPort", Plain<&SolvaneInterface::ResetComPort>, Does::Act,
     Statuses(kOk, kWriteFailed, kNoHardware), false, 0},
}};

Outcome Perform(SolvaneInterface& controller, std::size_t index, bool withoutPointer,
                Statuses gate) {
    const Operation& operation = kOperations[index % kOperations.size()];
    const bool isQuestion = operation.does == Does::Ask;
    const bool isWithoutPointer = isQuestion && withoutPointer;
    short out = kUntouched;
    const short status = operation.call(controller, isWithoutPointer ? nullptr : &out);

    Statuses documented = operation.isGated ? operation.statuses + gate : operation.statuses;
    if (isWithoutPointer) {
        documented = gate + Statuses(kInvalid);
        Check(status != kOk, "a null pointer is an error");
    }
    if (!documented.Has(status)) {
        std::fprintf(stderr, "%s: %d\n", operation.name, status);
        Check(false, "a status is documented");
    }
    const bool isAnswered = isQuestion && status == kOk;
    Check(isAnswered ? out == 0 || out == 1 : out == kUntouched,
          "an answer is 0 or 1 after success and untouched otherwise");
    Check(host::RaisedTimerPeriods() == 0, "the timer resolution is as before");
    return {&operation, status, isAnswered ? out : short{0}, isAnswered};
}

} // namespace fuzz
