/// What a host can ask of the library, as one table.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "solvane_interface.h"

namespace proof {

/// The seventeen operations that exports forward, then the two exports that choose the hardware.
enum class Op : std::uint8_t {
    CheckAvailable,
    CheckPowerControlAvailable,
    TriggerCapture,
    EnableForcedBlackUpdate,
    DisableForcedBlackUpdate,
    CheckAndResetMepFlag,
    CheckSystemReady,
    CheckForcedBlackUpdate,
    WakeCamera,
    EnableCameraPower,
    DisableCameraPower,
    CheckCameraPower,
    EnableAccessoriesPower,
    DisableAccessoriesPower,
    CheckAccessoriesPower,
    CloseDevice,
    ResetComPort,
    RecheckStatus,
    EnforceFTDI
};

struct Operation {
    Op op;
    const char* name;
    short (*run)(SLV::Internal::SolvaneInterface& controller, short* out); ///< null: exports only
    std::int16_t (*callExport)(std::int16_t* out); ///< 0 for a function that returns nothing
    std::vector<short> statuses; ///< that the public header documents, apart from 0
};

/// Every one of them, in the order of Op.
const std::vector<Operation>& Operations();

/// Those that controllers have.
std::span<const Operation> ControllerOperations();

/// What an out-value holds that nobody has written.
inline constexpr short kUntouched = 55;

/// "A little over 3 s" is what an operation may take that gives up. Configuring a chip that is
/// silent is a mode change of 50 ms, two reads of 100 polls of 2 ms each and a write; then a read
/// goes unanswered as well, and the chip is waited for. In ms.
inline constexpr std::uint64_t kLongest = 50 + 2 * 200 + 2 + 200 + 3000;

bool IsDocumented(const Operation& operation, short status);

/// Whether the operation answers through its pointer.
bool HasAnswer(Op op);

} // namespace proof
