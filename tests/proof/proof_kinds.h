/// The kinds of hardware, and what the proofs expect of each. A new kind is one row of the table.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "controller_ptr.h"
#include "failure_mode.h"
#include "host_model.h"

namespace proof {

/// What a fault can do to the trigger line.
enum class TriggerRisk : std::uint8_t {
    None,
    FailedWrite,   ///< an access that drives a line or reads it back fails
    UnseenWrite,   ///< the same, undetectably
    WrongRegister, ///< the same; or the lost write was to select the register for the next access
    Garble,        ///< a command is cut short, and the chip takes the next ones for its rest
    WrongByte      ///< a register reads wrong, and the wrong value is written back
};

/// Why an operation may answer 0 although its postcondition is violated: see excuses.h.
enum class Excuse : std::uint8_t {
    None,
    Silence,    ///< a call reports success and did nothing
    WrongByte,  ///< a level or a register reads wrong, or the byte never came
    CutCommand, ///< FT_Write takes a part, and the chip takes the next bytes for the rest
    Unreadable, ///< a line that cannot be read is answered with the harmless value
    ClearPulse, ///< a failed pulse on clear-MEP shows only in the flag
    Recovery,   ///< a recovered chip has its lines at rest; the line is not set again
    Close,      ///< closing always answers 0
    Clock       ///< the system sleeps too short or too long
};
inline constexpr std::size_t kExcuses = 9;

/// How many operations were excused, by excuse.
using ExcuseCounts = std::array<std::size_t, kExcuses>;

/// A way in which a call fails, and what to expect of it.
struct FailureMode : rig::FailureMode {
    FailureMode(rig::FailureMode mode, TriggerRisk itsRisk = TriggerRisk::None,
                bool changesNothing = false)
        : rig::FailureMode(mode), risk(itsRisk), isHarmless(changesNothing) {}

    TriggerRisk risk;
    bool isHarmless; ///< nothing that the host sees may change
};

struct VendorFunction {
    const char* name;
    std::vector<FailureMode> failureModes;
};

/// What brings failed hardware back once the fault is over.
enum class Comeback : std::uint8_t {
    NextOperation, ///< any operation configures it
    NewController, ///< a controller whose configuration failed never tries again
    UsbHandle      ///< depends on the handle that was left open: see usb_invariants.h
};

/// A fault before the operation, so that the recovery in it is proved as well: the next call of the
/// function fails, on a configured controller, or on a fresh one while it configures.
struct EarlierFault {
    const char* function;
    std::uint32_t status; ///< that it returns
    bool isConfigured;
};

struct Kind {
    const char* name;
    const char* scenario;
    const char* lookAlike; ///< hardware that is nearly of this kind, and must not be taken for it
    SLV::Internal::ControllerFactory make;
    std::vector<VendorFunction> functions;
    std::vector<FailureMode> dead; ///< how every call fails once the hardware or its driver is dead
    std::size_t failures;          ///< number of cases
    std::size_t failuresOfWindows; ///< likewise
    ExcuseCounts excused;          ///< operations that answer 0 to a failure all the same
    ExcuseCounts excusedOfWindows; ///< likewise
    std::vector<EarlierFault> earlierFaults;
    const char* activeOutputs; ///< scenario text that starts with active outputs; not for FT2232H
    Comeback comeback;
    bool configuringMayAnswerWrite = false; ///< a line that cannot be set to rest is reported once
    bool restsClearMep = true;   ///< configuring releases a clear-MEP that a failure left active
    bool lostPowerIsOff = false; ///< camera power that cannot be read is answered with 0
    Behaviour behaviour;
};

const std::vector<Kind>& Kinds();

/// The library's calls of Windows on every kind of hardware (system_faults.h).
const std::vector<VendorFunction>& SystemFunctions();

/// The shortest Sleep() in ms on a system whose timer stays coarse.
inline constexpr std::uint32_t kCoarseSleep = 16;

/// The kind as part of a test's name, which holds letters and digits only.
std::string TestName(const testing::TestParamInfo<Kind>& info);
void PrintTo(const Kind& kind, std::ostream* stream);

} // namespace proof
