#include "host_model.h"

namespace proof {

namespace {

constexpr Milliseconds kPulse = 10;
constexpr Milliseconds kUsbModeChange = 50;

Outcome Status(short status) {
    return {status, kUntouched};
}

Outcome Answer(bool yes) {
    constexpr short kYes = 1;
    constexpr short kNo = 0;
    return {SOLVANE_OK, yes ? kYes : kNo};
}

} // namespace

Outcome HostModel::Run(Op op, bool hasPlace) {
    switch (op) {
    case Op::RecheckStatus:
        isConfigured = false;
        isForced = false;
        return Status(IsAvailable() ? SOLVANE_OK : SOLVANE_E_NO_HARDWARE);
    case Op::EnforceFTDI:
        isConfigured = false;
        isForced = !behaviour.isUsb;
        IsAvailable();
        return Status(SOLVANE_OK);
    case Op::CloseDevice:
        isConfigured = isConfigured && !IsUsb();
        return Status(SOLVANE_OK);
    case Op::ResetComPort:
        return Status(IsUsb() && !IsHere() ? SOLVANE_E_NO_HARDWARE : SOLVANE_OK);
    default:
        break;
    }
    if (!IsAvailable()) {
        const bool isPowerControl = op == Op::CheckPowerControlAvailable && !isForced;
        return Status(isPowerControl ? behaviour.absentPowerControl : SOLVANE_E_NO_HARDWARE);
    }
    return test::Of(op).hasAnswer && !hasPlace ? Status(SOLVANE_E_INVALID) : Do(op);
}

bool HostModel::IsAvailable() {
    if (IsHere() && !isConfigured) {
        Configure();
        isConfigured = true;
    }
    return IsHere();
}

/// Sets the lines to rest: trigger low, clear-MEP inactive.
void HostModel::Configure() {
    if (IsUsb()) {
        ConfigureUsb();
    }
    if (behaviour.clearsFlag) {
        PulseClearMep();
    }
    if (behaviour.switchesOn) {
        Drive(RIG_CAMERA_POWER, true);
        Drive(RIG_ACCESSORIES_POWER, true);
        Drive(RIG_DARK, false);
    }
    camera.Drive(RIG_TRIGGER, false);
    camera.Drive(RIG_CLEAR_MEP, false);
}

/// Entering MPSSE mode the chip releases the lines; then a read, a write and a read.
void HostModel::ConfigureUsb() {
    camera.LetGo();
    camera.Wait(kUsbModeChange + 3 * behaviour.accessMilliseconds);
}

Outcome HostModel::Do(Op op) {
    switch (op) {
    case Op::TriggerCapture:
        return Trigger();
    case Op::WakeCamera:
        return Wake();
    case Op::CheckAndResetMepFlag:
        return Answer(ReadFlagAndClear());
    default:
        break;
    }
    const Operation& operation = test::Of(op);
    if (operation.line == NO_LINE) {
        return Status(SOLVANE_OK);
    }
    const auto line = static_cast<rig_line>(operation.line);
    if (operation.hasAnswer) {
        return Answer(Read(line));
    }
    Drive(line, operation.level != 0);
    return Status(SOLVANE_OK);
}

Outcome HostModel::Trigger() {
    if (!Read(RIG_READY)) {
        return Status(SOLVANE_E_NOT_READY);
    }
    ReadFlagAndClear();
    Drive(RIG_TRIGGER, true);
    camera.Wait(kPulse);
    Drive(RIG_TRIGGER, false);
    return Status(SOLVANE_OK);
}

Outcome HostModel::Wake() {
    const bool wasDark = Read(RIG_DARK);
    Drive(RIG_DARK, !wasDark);
    camera.Wait(kPulse);
    Read(RIG_DARK);
    Drive(RIG_DARK, wasDark);
    return Status(SOLVANE_OK);
}

bool HostModel::ReadFlagAndClear() {
    const bool isLatched = Read(RIG_MEP);
    if (isLatched) {
        PulseClearMep();
    }
    return isLatched;
}

void HostModel::PulseClearMep() {
    Drive(RIG_CLEAR_MEP, true);
    Drive(RIG_CLEAR_MEP, false);
}

bool HostModel::Read(rig_line line) {
    const bool level = camera.Level(line);
    camera.Wait(behaviour.accessMilliseconds);
    return level;
}

void HostModel::Drive(rig_line line, bool level) {
    camera.Drive(line, level);
    camera.Wait(behaviour.accessMilliseconds);
}

} // namespace proof
