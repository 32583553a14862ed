/// The kinds of hardware that everything here is proved for. A new kind is one row of the table.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "controller_ptr.h"
#include "host_model.h"
#include "way.h"

namespace proof {

/// What a fault can do to the trigger line.
enum class TriggerRisk : std::uint8_t {
    None,
    FailedWrite,   ///< an access fails that drives a line or sees whether it was driven
    UnseenWrite,   ///< the same, and nobody can tell
    WrongRegister, ///< the same; or the write that is lost chose the register to be accessed next
    Garble,        ///< a command is cut short, and the chip takes the next ones for its rest
    WrongByte      ///< a register reads other than it is, and is written back so
};

/// Why an operation may answer 0 although not all is as it was asked for: nobody can tell, or hosts
/// know that they are not told.
enum class Untold : std::uint8_t {
    Never,
    Silence,    ///< a call reports success and did nothing
    WrongByte,  ///< a level or a register reads other than it is, or the byte never came
    CutCommand, ///< FT_Write takes a part, and the chip takes the next bytes for the rest
    Unreadable, ///< a line that cannot be read is answered with the value that harms nobody
    ClearPulse, ///< whether the pulse on clear-MEP worked shows in the flag
    Repair,     ///< a chip that was brought back has its lines at rest; it is not asked again
    Close,      ///< closing answers 0 whatever became of it
    Clock       ///< the system sleeps too short or too long
};
inline constexpr std::size_t kUntoldCauses = 9;

/// How many operations were excused, by cause.
using UntoldCounts = std::array<std::size_t, kUntoldCauses>;

/// A way in which a call goes wrong, and what is to be expected of it.
struct Way : rig::Way {
    Way(rig::Way way, TriggerRisk itsRisk = TriggerRisk::None, bool changesNothing = false)
        : rig::Way(way), risk(itsRisk), isHarmless(changesNothing) {}

    TriggerRisk risk;
    bool isHarmless; ///< nothing that the host sees may change
};

struct VendorFunction {
    const char* name;
    std::vector<Way> ways;
};

/// When hardware that failed serves again, once it is whole.
enum class Comeback : std::uint8_t {
    NextOperation, ///< whatever was asked, the next operation configures it
    NewController, ///< a controller whose configuration failed never tries again
    UsbHandle      ///< it depends on the handle that was left open: see usb_invariants.h
};

/// A earlierFault before the operation, so that its way back is proved as well: one call of the
/// function fails, on a configured controller the next one, on a fresh one the first while it
/// configures.
struct EarlierFault {
    const char* function;
    std::uint32_t status; ///< that it returns
    bool isConfigured;
};

struct Kind {
    const char* name;
    const char* scenario;
    const char* lookAlike; ///< hardware that is nearly of this kind, and so none
    SLV::Internal::ControllerFactory make;
    std::vector<VendorFunction> functions;
    std::vector<Way> dead; ///< in which every call fails once the hardware or its driver is dead
    std::size_t failures;  ///< how many there are to go through
    std::size_t failuresOfWindows; ///< likewise
    UntoldCounts untold;           ///< operations that answer 0 to a failure all the same
    UntoldCounts untoldOfWindows;  ///< likewise
    std::vector<EarlierFault> earlierFaults;
    const char* activeOutputs; ///< has them start so, of a scenario; the FT2232H is set so
    Comeback comeback;
    bool configuringMayAnswerWrite = false; ///< a line that cannot be set to rest is told once
    bool restsClearMep = true;   ///< configuring lets go of a clear-MEP that a failure left active
    bool lostPowerIsOff = false; ///< camera power that cannot be read is answered with 0
    Behaviour behaviour;
};

const std::vector<Kind>& Kinds();

/// What the library asks of Windows beside the vendors' libraries, whatever the hardware is
/// (system_faults.h).
const std::vector<VendorFunction>& SystemFunctions();

/// What every Sleep() of the shortest kind lasts on a system whose timer stays coarse, in ms.
inline constexpr std::uint32_t kCoarseSleep = 16;

/// The kind as part of a test's name, which holds letters and digits only.
std::string TestName(const testing::TestParamInfo<Kind>& info);
void PrintTo(const Kind& kind, std::ostream* stream);

} // namespace proof
