#include "proof_operations.h"

#define SOLVANE_NO_IMPORT
#include <solvane/solvane.h>

#include <algorithm>

namespace proof {

namespace {

using SLV::Internal::SolvaneInterface;

constexpr short kWrite = SOLVANE_E_WRITE;
constexpr short kNone = SOLVANE_E_NO_HARDWARE;
constexpr short kUndetermined = SOLVANE_E_UNDETERMINED;
constexpr short kInvalid = SOLVANE_E_INVALID;
constexpr short kNotReady = SOLVANE_E_NOT_READY;

template <Op op, auto operation, auto exported>
Operation Command(const char* name, std::vector<short> statuses) {
    return {op, name,
            [](SolvaneInterface& controller, short*) { return (controller.*operation)(); },
            [](std::int16_t*) { return exported(); }, std::move(statuses)};
}

template <Op op, auto operation, auto exported>
Operation Question(const char* name) {
    return {op,
            name,
            [](SolvaneInterface& controller, short* out) { return (controller.*operation)(out); },
            [](std::int16_t* out) { return exported(out); },
            {kNone, kInvalid}};
}

#define COMMAND(name, ...)                                                                         \
    Command<Op::name, &SolvaneInterface::name, Solvane_##name>(#name, {__VA_ARGS__})
#define QUESTION(name) Question<Op::name, &SolvaneInterface::name, Solvane_##name>(#name)

} // namespace

const std::vector<Operation>& Operations() {
    static const std::vector<Operation> operations{
        COMMAND(CheckAvailable, kNone),
        COMMAND(CheckPowerControlAvailable, kNone, kUndetermined),
        COMMAND(TriggerCapture, kNotReady, kNone, kWrite),
        COMMAND(EnableForcedBlackUpdate, kNone, kWrite),
        COMMAND(DisableForcedBlackUpdate, kNone, kWrite),
        QUESTION(CheckAndResetMepFlag),
        QUESTION(CheckSystemReady),
        QUESTION(CheckForcedBlackUpdate),
        COMMAND(WakeCamera, kNone, kWrite),
        COMMAND(EnableCameraPower, kNone, kWrite),
        COMMAND(DisableCameraPower, kNone, kWrite),
        QUESTION(CheckCameraPower),
        COMMAND(EnableAccessoriesPower, kNone, kWrite),
        COMMAND(DisableAccessoriesPower, kNone, kWrite),
        QUESTION(CheckAccessoriesPower),
        COMMAND(CloseDevice),
        COMMAND(ResetComPort, kNone, kWrite),
        {Op::RecheckStatus,
         "RecheckStatus",
         nullptr,
         [](std::int16_t*) { return Solvane_RecheckStatus(); },
         {kNone}},
        {Op::EnforceFTDI,
         "EnforceFTDI",
         nullptr,
         [](std::int16_t*) {
             Solvane_EnforceFTDI();
             return std::int16_t{0};
         },
         {}},
    };
    return operations;
}

std::span<const Operation> ControllerOperations() {
    return std::span(Operations()).first(static_cast<std::size_t>(Op::RecheckStatus));
}

bool IsDocumented(const Operation& operation, short status) {
    return status == SOLVANE_OK || std::ranges::count(operation.statuses, status) != 0;
}

bool HasAnswer(Op op) {
    return op == Op::CheckAndResetMepFlag || op == Op::CheckSystemReady ||
           op == Op::CheckForcedBlackUpdate || op == Op::CheckCameraPower ||
           op == Op::CheckAccessoriesPower;
}

} // namespace proof
