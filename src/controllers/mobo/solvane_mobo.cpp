#include "solvane_mobo.h"

#include "fine_timing.h"
#include "kernel.h"

namespace SLV::Internal {

namespace {

constexpr unsigned kPulseMilliseconds = 10;

short WriteStatus(bool written) {
    return written ? kOk : kWriteFailed;
}

} // namespace

std::uint16_t moboAccessoriesPowerFlag = 0;

short SolvaneMoBo::CheckAvailable() {
    if (configResult == kOk) {
        return kOk;
    }
    configResult = Configure();
    logger.Line("[MOBO]: Configure() result: ", configResult);
    if (configResult != kOk) {
        return configResult;
    }
    // The hardware counts as configured from here on: a line that cannot be set to rest is reported
    // once, and again by the next operation that drives it.
    return SetLinesToRest();
}

short SolvaneMoBo::SetLinesToRest() {
    if (const short result = EnableCameraPower(); result != kOk) {
        logger.Line("[MOBO]: Solvane_EnableCameraPower() failed with error  ", result);
        return result;
    }
    if (const short result = EnableAccessoriesPower(); result != kOk) {
        logger.Line("[MOBO]: Solvane_EnableAccessoriesPower() failed with error  ", result);
        return result;
    }
    if (const short result = DisableForcedBlackUpdate(); result != kOk) {
        logger.Line("[MOBO]: Solvane_DisableForcedBlackUpdate() failed with error  ", result);
        return result;
    }
    if (!SetPinValue(Trigger_Pin, levelLow)) {
        // A frozen text: the dark line's, with the dark line's result 0.
        logger.Line("[MOBO]: Solvane_DisableForcedBlackUpdate() failed with error  ", kOk);
        return kWriteFailed;
    }
    return kOk;
}

short SolvaneMoBo::TriggerCapture() {
    return WhenAvailable([&] {
        if (!IsAt(Ready_Pin, levelHigh)) {
            return kNotReady;
        }
        const FineTiming fineTiming;
        if (IsAt(Mep_Pin, levelLow)) {
            PulseClearMep();
        }
        return WriteStatus(PulseTrigger());
    });
}

short SolvaneMoBo::EnableForcedBlackUpdate() {
    return Drive(ForceDark_Pin, levelHigh);
}

short SolvaneMoBo::DisableForcedBlackUpdate() {
    return Drive(ForceDark_Pin, levelLow);
}

short SolvaneMoBo::CheckAndResetMepFlag(short* flag) {
    return AnswerAndClear(
        flag, [&] { return IsAt(Mep_Pin, levelLow); }, [&] { PulseClearMep(); });
}

short SolvaneMoBo::CheckSystemReady(short* ready) {
    return Answer(ready, [&] { return IsAt(Ready_Pin, levelHigh); });
}

short SolvaneMoBo::CheckForcedBlackUpdate(short* on) {
    return Answer(on, [&] { return IsAt(ForceDark_Pin, levelHigh); });
}

// Without fine timing: a longer pulse wakes a camera as well.
short SolvaneMoBo::WakeCamera() {
    return WhenAvailable([&] {
        const bool wasHigh = IsAt(ForceDark_Pin, levelHigh);
        if (!SetPinValue(ForceDark_Pin, wasHigh ? levelLow : levelHigh)) {
            return kWriteFailed;
        }
        platform::Sleep(kPulseMilliseconds);
        return WriteStatus(SetPinValue(ForceDark_Pin, wasHigh ? levelHigh : levelLow));
    });
}

short SolvaneMoBo::EnableCameraPower() {
    return Drive(PowerDown2_Pin, levelLow);
}

short SolvaneMoBo::DisableCameraPower() {
    return Drive(PowerDown2_Pin, levelHigh);
}

/// A line that cannot be read counts as powered: a camera that may be live must not be unplugged.
short SolvaneMoBo::CheckCameraPower(short* on) {
    return Answer(on, [&] { return !IsAt(PowerDown2Status_Pin, levelHigh); });
}

short SolvaneMoBo::EnableAccessoriesPower() {
    return SwitchAccessories(levelLow, moboAccessoriesPowerFlag, 1);
}

short SolvaneMoBo::DisableAccessoriesPower() {
    return SwitchAccessories(levelHigh, moboAccessoriesPowerFlag, 0);
}

short SolvaneMoBo::CheckAccessoriesPower(short* on) {
    return Answer(on, [] { return moboAccessoriesPowerFlag != 0; });
}

bool SolvaneMoBo::IsAt(PinId pin, std::uint32_t level) {
    std::uint32_t value = level == levelHigh ? levelLow : levelHigh;
    return GetPinValue(pin, value) && value == level;
}

short SolvaneMoBo::Drive(PinId pin, std::uint32_t level) {
    return WhenAvailable([&] { return WriteStatus(SetPinValue(pin, level)); });
}

short SolvaneMoBo::SwitchAccessories(std::uint32_t level, std::uint16_t& flag,
                                     std::uint16_t command) {
    const short status = Drive(PowerDown3_Pin, level);
    if (status == kOk) {
        flag = command;
    }
    return status;
}

/// A short low pulse on the clear-MEP line; whether it worked shows in the flag.
void SolvaneMoBo::PulseClearMep() {
    if (SetPinValue(Clear_Mep_Pin, levelLow)) {
        platform::Sleep(0);
        SetPinValue(Clear_Mep_Pin, levelHigh);
    }
}

bool SolvaneMoBo::PulseTrigger() {
    if (!SetPinValue(Trigger_Pin, levelHigh)) {
        return false;
    }
    platform::Sleep(kPulseMilliseconds);
    return SetPinValue(Trigger_Pin, levelLow);
}

} // namespace SLV::Internal
