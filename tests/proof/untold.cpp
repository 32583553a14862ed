#include "untold.h"

#include <algorithm>
#include <initializer_list>
#include <string>
#include <string_view>

namespace proof {

namespace {

/// The bit of the FT2232H's high byte that a setting operation raises; 0 of the others.
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

/// Whether the lines are set here: "FT_Write(SLV1B, [82 d1 4f])".
bool IsWrite(std::string_view question) {
    return question.starts_with(kSetHighByte);
}

/// Whether this is the write with which the operation raises its line.
bool Raises(Op op, std::string_view question) {
    return IsWrite(question) &&
           (std::stoul(std::string(question.substr(kSetHighByte.size(), 2)), nullptr, 16) &
            BitRaisedBy(op)) != 0;
}

/// Whether it clears a flag that it finds latched.
bool Clears(Op op) {
    return op == Op::TriggerCapture || op == Op::CheckAndResetMepFlag;
}

bool IsAnyOf(std::string_view function, std::initializer_list<std::string_view> functions) {
    return std::ranges::find(functions, function) != functions.end();
}

bool IsReadWrong(const PlannedFault& planned) {
    const bool isCount = planned.way->kind == RIG_FAULT_COUNT;
    return planned.way->risk == TriggerRisk::WrongByte ||
           (isCount && IsAnyOf(planned.function, {"EApiGPIOGetLevel", "FT_Read"}));
}

bool IsOfLine(Violation violation) {
    return violation == Violation::Picture || violation == Violation::Pulse ||
           violation == Violation::Line;
}

/// FT_Write says how much it wrote, and a register of the Super I/O chip is read back.
bool ShowsSilence(const PlannedFault& planned, Violation violation) {
    switch (planned.way->risk) {
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

/// The write that raises the line failed, and the chip was brought back; or that happened to a
/// wake, which then looks at the line once more, to pulse it back from where it is.
bool IsRepaired(Op op, bool isRepair, const PlannedFault& planned) {
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

Untold CauseOfRepair(const Kind& kind, Op op, bool isRepair, const PlannedFault& planned,
                     Violation violation) {
    return kind.behaviour.isUsb && IsOfLine(violation) &&
                   planned.way->risk != TriggerRisk::Garble && IsRepaired(op, isRepair, planned)
               ? Untold::Repair
               : Untold::Never;
}

/// A failure that can be told from success.
Untold CauseOfTold(const Kind& kind, Op op, bool isRepair, const PlannedFault& planned,
                   Violation violation) {
    switch (violation) {
    case Violation::SafeAnswer: // a chip that fails once is brought back, and asked again
        return !kind.behaviour.isUsb || planned.times == 0 || isRepair ? Untold::Unreadable
                                                                       : Untold::Never;
    case Violation::ClearMep:
        return Clears(op) ? Untold::ClearPulse : Untold::Never;
    case Violation::Chip:
        return op == Op::CloseDevice ? Untold::Close : Untold::Never;
    default:
        return Untold::Never;
    }
}

} // namespace

const char* Name(Untold cause) {
    static constexpr const char* kNames[kUntoldCauses] = {
        "never",       "silence", "wrong byte", "cut command", "unreadable",
        "clear pulse", "repair",  "close",      "clock"};
    return kNames[static_cast<std::size_t>(cause)];
}

Untold CauseOf(const Kind& kind, const Operation& operation, bool isRepair,
               const PlannedFault& planned, Violation violation) {
    const Way& way = *planned.way;
    const Untold repaired = CauseOfRepair(kind, operation.op, isRepair, planned, violation);
    if (repaired != Untold::Never) {
        return repaired;
    }
    if (planned.isOfSystem) {
        const bool isTooShort = way.count == 0; // for a chip to answer in
        const bool isExcused =
            violation == Violation::Pulse || (violation == Violation::SafeAnswer && isTooShort);
        return planned.function == "Sleep" && isExcused ? Untold::Clock : Untold::Never;
    }
    if (way.risk == TriggerRisk::Garble) {
        return Untold::CutCommand;
    }
    if (IsReadWrong(planned)) {
        return Untold::WrongByte;
    }
    if (way.kind == RIG_FAULT_SILENT && !ShowsSilence(planned, violation)) {
        return Untold::Silence;
    }
    return CauseOfTold(kind, operation.op, isRepair, planned, violation);
}

Untold CauseOfAbsence(const Operation& operation, const std::string& question, bool isSilent,
                      bool isBackAtOnce, Violation violation) {
    const Op op = operation.op;
    switch (violation) {
    case Violation::Picture:
    case Violation::Pulse:
    case Violation::Line:
        // A trigger reads, and so has the chip brought back, before it writes.
        return BitRaisedBy(op) != 0 && (op != Op::TriggerCapture || IsWrite(question))
                   ? Untold::Repair
                   : Untold::Never;
    case Violation::SafeAnswer:
        return isBackAtOnce ? Untold::Never : Untold::Unreadable;
    case Violation::ClearMep:
        return Clears(op) ? Untold::ClearPulse : Untold::Never;
    case Violation::Chip:
        return op == Op::CloseDevice ? Untold::Close : isSilent ? Untold::Silence : Untold::Never;
    case Violation::OtherLine: // a byte that was not fetched is the next answer
        return isSilent ? Untold::Silence : Untold::Never;
    default:
        return Untold::Never;
    }
}

} // namespace proof
