#include "solvane_lpt.h"

#include "fine_timing.h"
#include "inpout.h"
#include "kernel.h"
#include "lpt_finder.h"

namespace SLV::Internal {

namespace {

constexpr unsigned kPulseMilliseconds = 10;
constexpr unsigned kShortest = 0;

void PulseClearMep() {
    lpt::Pulse(lpt::kClearMep, kShortest);
}

bool MepFlagLatched() {
    return !lpt::IsSet(lpt::kNoMepFlag);
}

/// Dark and power stay as they are.
void SetLinesToRest() {
    const FineTiming fineTiming;
    lpt::Clear(lpt::kClearMep);
    platform::Sleep(kShortest);
    PulseClearMep();
    lpt::Clear(lpt::kTrigger);
}

} // namespace

short s_lptAvailability = kUndetermined;
short s_lptPowerAvailability = kUndetermined;
bool s_lptInitialised = false;

SolvaneLpt::~SolvaneLpt() {
    s_lptAvailability = kUndetermined;
    s_lptPowerAvailability = kUndetermined;
    s_lptBaseAddress = 0;
    s_lptInitialised = false;
}

short SolvaneLpt::CheckAvailable() {
    if (!s_lptInitialised) {
        InitialiseLpt();
    }
    return s_lptAvailability;
}

short SolvaneLpt::CheckPowerControlAvailable() {
    CheckAvailable();
    return s_lptPowerAvailability;
}

void SolvaneLpt::InitialiseLpt() {
    logger.Line("[LPT]: initializing...");
    s_lptInitialised = true; // a port that fails is not looked for again
    s_lptAvailability = FindPort();
    if (s_lptAvailability != kOk) {
        logger.Line("[LPT]: error ", s_lptAvailability);
        return;
    }
    logger.Line("[LPT]: succeeded.");
    ProbePowerInterface();
    SetLinesToRest();
}

short SolvaneLpt::FindPort() {
    s_lptBaseAddress = FindLptBaseAddress(logger);
    if (s_lptBaseAddress == 0) {
        return kNoHardware;
    }
    if (IsInpOutDriverOpen() == 0) {
        return kWriteFailed;
    }
    return lpt::ProbeLoopback(lpt::kPresenceProbe, lpt::kPresenceLoopback) ? kOk : kNoHardware;
}

/// For CheckPowerControlAvailable() alone: the power operations drive their lines in any case.
void SolvaneLpt::ProbePowerInterface() {
    if (lpt::ProbeLoopback(lpt::kPowerProbe, lpt::kPowerLoopback)) {
        s_lptPowerAvailability = kOk;
        logger.Line("[LPT]: power interface available.");
    } else {
        s_lptPowerAvailability = kNoHardware;
        logger.Line("[LPT]: power interface NOT available.");
    }
}

short SolvaneLpt::TriggerCapture() {
    return WhenAvailable([] {
        if (!lpt::IsSet(lpt::kReady)) {
            return kNotReady;
        }
        const FineTiming fineTiming;
        if (MepFlagLatched()) {
            PulseClearMep();
        }
        lpt::Pulse(lpt::kTrigger, kPulseMilliseconds);
        return kOk;
    });
}

short SolvaneLpt::EnableForcedBlackUpdate() {
    return Set(lpt::kDark);
}

short SolvaneLpt::DisableForcedBlackUpdate() {
    return Clear(lpt::kDark);
}

short SolvaneLpt::CheckAndResetMepFlag(short* flag) {
    return AnswerAndClear(flag, MepFlagLatched, PulseClearMep);
}

short SolvaneLpt::CheckSystemReady(short* ready) {
    return Answer(ready, [] { return lpt::IsSet(lpt::kReady); });
}

short SolvaneLpt::CheckForcedBlackUpdate(short* on) {
    return Answer(on, [] { return lpt::IsSet(lpt::kDark); });
}

// Without fine timing: a longer pulse wakes a camera as well.
short SolvaneLpt::WakeCamera() {
    return WhenAvailable([] {
        lpt::PulseAgainst(lpt::kDark, kPulseMilliseconds);
        return kOk;
    });
}

// Both power lines are active low.

short SolvaneLpt::EnableCameraPower() {
    return Clear(lpt::kCameraPowerOff);
}

short SolvaneLpt::DisableCameraPower() {
    return Set(lpt::kCameraPowerOff);
}

short SolvaneLpt::CheckCameraPower(short* on) {
    return Answer(on, [] { return !lpt::IsSet(lpt::kCameraPowerOff); });
}

short SolvaneLpt::EnableAccessoriesPower() {
    return Clear(lpt::kAccessoriesPowerOff);
}

short SolvaneLpt::DisableAccessoriesPower() {
    return Set(lpt::kAccessoriesPowerOff);
}

short SolvaneLpt::CheckAccessoriesPower(short* on) {
    return Answer(on, [] { return !lpt::IsSet(lpt::kAccessoriesPowerOff); });
}

short SolvaneLpt::Set(const lpt::Bit& bit) {
    return WhenAvailable([&] {
        lpt::Set(bit);
        return kOk;
    });
}

short SolvaneLpt::Clear(const lpt::Bit& bit) {
    return WhenAvailable([&] {
        lpt::Clear(bit);
        return kOk;
    });
}

} // namespace SLV::Internal
