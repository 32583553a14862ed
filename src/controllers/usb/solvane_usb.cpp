#include "solvane_usb.h"

#include "bit_port.h"
#include "fine_timing.h"
#include "kernel.h"

namespace SLV::Internal {

namespace {

constexpr unsigned kPulseMilliseconds = 10;

short WriteStatus(bool written) {
    return written ? kOk : kWriteFailed;
}

/// A short low pulse on the clear-MEP line; whether it worked shows in the flag.
void PulseClearMep() {
    if (ClearPin(high::kClearMepRest)) {
        platform::Sleep(0);
        SetPin(high::kClearMepRest);
    }
}

bool MepFlagLatched() {
    return GetBitsValue(s_highPort, high::kNoMepFlag) == 0;
}

bool PulseTrigger() {
    if (!SetPin(high::kTrigger)) {
        return false;
    }
    platform::Sleep(kPulseMilliseconds);
    return ClearPin(high::kTrigger);
}

bool ToggleDark() {
    return TogglePin(GetBitsValue(s_lowPort, low::kDark));
}

} // namespace

SolvaneUsb::SolvaneUsb(Logger& processLogger) : logger(processLogger) {
    s_highPort.logger = &processLogger;
    s_lowPort.logger = &processLogger;
}

SolvaneUsb::~SolvaneUsb() {
    CloseFtdi();
}

short SolvaneUsb::CheckAvailable() {
    if (status != kOk) {
        status = Configure();
        logger.Line("Configure() result: ", status);
    }
    return status;
}

short SolvaneUsb::TriggerCapture() {
    return WhenAvailable([&] {
        if (GetBitsValue(s_highPort, high::kReady) != 1) {
            return kNotReady;
        }
        const FineTiming fineTiming;
        if (MepFlagLatched()) {
            PulseClearMep();
        }
        return WriteStatus(PulseTrigger());
    });
}

short SolvaneUsb::EnableForcedBlackUpdate() {
    return WhenAvailable([] { return WriteStatus(SetPin(high::kDark)); });
}

short SolvaneUsb::DisableForcedBlackUpdate() {
    return WhenAvailable([] { return WriteStatus(ClearPin(high::kDark)); });
}

short SolvaneUsb::CheckAndResetMepFlag(short* flag) {
    return AnswerAndClear(flag, MepFlagLatched, PulseClearMep);
}

short SolvaneUsb::CheckSystemReady(short* ready) {
    return Answer(ready, [] { return GetBitsValue(s_highPort, high::kReady) == 1; });
}

short SolvaneUsb::CheckForcedBlackUpdate(short* on) {
    return Answer(on, [] { return GetBitsValue(s_lowPort, low::kDark) == 1; });
}

short SolvaneUsb::WakeCamera() {
    return WhenAvailable([] {
        if (!ToggleDark()) {
            return kWriteFailed;
        }
        platform::Sleep(kPulseMilliseconds);
        return WriteStatus(ToggleDark());
    });
}

// Both power lines are active low. A power line that cannot be read counts as on, ready and dark as
// inactive: a host must not unplug a live camera, nor trigger a dead one.

short SolvaneUsb::EnableCameraPower() {
    return WhenAvailable([] { return WriteStatus(ClearPin(high::kCameraPowerOff)); });
}

short SolvaneUsb::DisableCameraPower() {
    return WhenAvailable([] { return WriteStatus(SetPin(high::kCameraPowerOff)); });
}

short SolvaneUsb::CheckCameraPower(short* on) {
    return Answer(on, [] { return GetBitsValue(s_lowPort, low::kCameraPowerOff) != 1; });
}

short SolvaneUsb::EnableAccessoriesPower() {
    return WhenAvailable([] { return WriteStatus(ClearPin(high::kAccessoriesPowerOff)); });
}

short SolvaneUsb::DisableAccessoriesPower() {
    return WhenAvailable([] { return WriteStatus(SetPin(high::kAccessoriesPowerOff)); });
}

short SolvaneUsb::CheckAccessoriesPower(short* on) {
    return Answer(on, [] { return GetBitsValue(s_lowPort, low::kAccessoriesPowerOff) != 1; });
}

short SolvaneUsb::CloseDevice() {
    if (status != kNoHardware) {
        CloseFtdi();
    }
    return kOk;
}

} // namespace SLV::Internal
