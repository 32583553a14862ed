#include "excuses.h"

#include <algorithm>
#include <initializer_list>
#include <string>
#include <string_view>

namespace proof {

namespace {

/// The bit of the FT2232H's high byte that the operation raises; 0: none.
unsigned BitRaisedBy(Op op) {
    switch (op) {
    case Op::TriggerCapture:
        return 0x01;
    case Op::EnableForcedBlackUpdate:
    case Op::WakeCamera:
        return 0x02;
    case Op::DisableCameraPower:
        return 0x04;
    case Op::DisableAccessoriesPower:
        return 0x08;
    default:
        return 0;
    }
}

constexpr std::string_view kSetHighByte = "FT_Write(SLV1B, [82 ";

/// Whether the call sets the lines: "FT_Write(SLV1B, [82 d1 4f])".
bool IsWrite(std::string_view question) {
    return question.starts_with(kSetHighByte);
}

/// Whether the call is the write that raises the operation's line.
bool Raises(Op op, std::string_view question) {
    return IsWrite(question) &&
           (std::stoul(std::string(question.substr(kSetHighByte.size(), 2)), nullptr, 16) &
            BitRaisedBy(op)) != 0;
}

/// Whether the operation clears a latched flag.
bool Clears(Op op) {
    return op == Op::TriggerCapture || op == Op::CheckAndResetMepFlag;
}

bool IsAnyOf(std::string_view function, std::initializer_list<std::string_view> functions) {
    return std::ranges::find(functions, function) != functions.end();
}

bool IsReadWrong(const PlannedFault& planned) {
    const bool isCount = planned.mode->kind == RIG_FAULT_COUNT;
    return planned.mode->risk == TriggerRisk::WrongByte ||
           (isCount && IsAnyOf(planned.function, {"EApiGPIOGetLevel", "FT_Read"}));
}

bool IsOfLine(Violation violation) {
    return violation == Violation::Picture || violation == Violation::Pulse ||
           violation == Violation::Line;
}

/// Whether a silent failure is detected: FT_Write reports how much it wrote, and registers of the
/// Super I/O chip are read back.
bool ShowsSilence(const PlannedFault& planned, Violation violation) {
    switch (planned.mode->risk) {
    case TriggerRisk::None:
        return !IsAnyOf(planned.function, {"EApiGPIOGetLevel", "EApiGPIOSetDirection", "FT_Read",
                                           "FT_SetBitMode", "FT_ResetDevice", "FT_Close"});
    case TriggerRisk::FailedWrite: // unless all others are silent as well
        return planned.function != "*" ||
               (violation != Violation::Chip && violation != Violation::OtherLine);
    case TriggerRisk::WrongRegister:
        return IsOfLine(violation);
    default:
        return false;
    }
}

/// Whether the chip was recovered because the write that raises the line failed; or anywhere in a
/// wake, which then reads the line again and pulses it from there.
bool IsRecovered(Op op, bool isRepair, const PlannedFault& planned) {
    if (planned.times == 1 && Raises(op, planned.question)) {
        return true;
    }
    const bool isRead = IsAnyOf(planned.function, {"FT_Write", "FT_GetQueueStatus", "FT_Read"});
    if (op == Op::WakeCamera) {
        return planned.times == 1 && isRead;
    }
    const bool failsAgain = planned.times == 0 && IsAnyOf(planned.function, {"FT_Write", "*"});
    return isRepair && op != Op::TriggerCapture && BitRaisedBy(op) != 0 && !failsAgain;
}

Excuse ExcuseForRecovery(const Kind& kind, Op op, bool isRepair, const PlannedFault& planned,
                         Violation violation) {
    return kind.behaviour.isUsb && IsOfLine(violation) &&
                   planned.mode->risk != TriggerRisk::Garble && IsRecovered(op, isRepair, planned)
               ? Excuse::Recovery
               : Excuse::None;
}

Excuse ExcuseForReportedFailure(const Kind& kind, Op op, bool isRepair, const PlannedFault& planned,
                                Violation violation) {
    switch (violation) {
    case Violation::SafeAnswer: // a chip that fails once is recovered and read again
        return !kind.behaviour.isUsb || planned.times == 0 || isRepair ? Excuse::Unreadable
                                                                       : Excuse::None;
    case Violation::ClearMep:
        return Clears(op) ? Excuse::ClearPulse : Excuse::None;
    case Violation::Chip:
        return op == Op::CloseDevice ? Excuse::Close : Excuse::None;
    default:
        return Excuse::None;
    }
}

} // namespace

const char* Name(Excuse excuse) {
    static constexpr const char* kNames[kExcuses] = {"none",        "silence",    "wrong byte",
                                                     "cut command", "unreadable", "clear pulse",
                                                     "recovery",    "close",      "clock"};
    return kNames[static_cast<std::size_t>(excuse)];
}

Excuse ExcuseFor(const Kind& kind, const Operation& operation, bool isRepair,
                 const PlannedFault& planned, Violation violation) {
    const FailureMode& mode = *planned.mode;
    const Excuse recovered = ExcuseForRecovery(kind, operation.op, isRepair, planned, violation);
    if (recovered != Excuse::None) {
        return recovered;
    }
    if (planned.isOfSystem) {
        const bool isTooShort = mode.count == 0; // for the chip's answer
        const bool isExcused =
            violation == Violation::Pulse || (violation == Violation::SafeAnswer && isTooShort);
        return planned.function == "Sleep" && isExcused ? Excuse::Clock : Excuse::None;
    }
    if (mode.risk == TriggerRisk::Garble) {
        return Excuse::CutCommand;
    }
    if (IsReadWrong(planned)) {
        return Excuse::WrongByte;
    }
    if (mode.kind == RIG_FAULT_SILENT && !ShowsSilence(planned, violation)) {
        return Excuse::Silence;
    }
    return ExcuseForReportedFailure(kind, operation.op, isRepair, planned, violation);
}

Excuse ExcuseForAbsence(const Operation& operation, const std::string& question, bool isSilent,
                        bool isBackAtOnce, Violation violation) {
    const Op op = operation.op;
    switch (violation) {
    case Violation::Picture:
    case Violation::Pulse:
    case Violation::Line:
        // A trigger reads before it writes, and that read recovers the chip.
        return BitRaisedBy(op) != 0 && (op != Op::TriggerCapture || IsWrite(question))
                   ? Excuse::Recovery
                   : Excuse::None;
    case Violation::SafeAnswer:
        return isBackAtOnce ? Excuse::None : Excuse::Unreadable;
    case Violation::ClearMep:
        return Clears(op) ? Excuse::ClearPulse : Excuse::None;
    case Violation::Chip:
        return op == Op::CloseDevice ? Excuse::Close : isSilent ? Excuse::Silence : Excuse::None;
    case Violation::OtherLine: // a byte that was not fetched is taken for the next answer
        return isSilent ? Excuse::Silence : Excuse::None;
    default:
        return Excuse::None;
    }
}

} // namespace proof
