#include "postcondition.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>

namespace proof {

namespace {

constexpr std::uint64_t kNanosecondsPerMillisecond = 1'000'000;
constexpr std::uint64_t kPulse = 10;

bool IsHigh(rig_line line) {
    return rig_level(line) != 0;
}

} // namespace

const char* Name(Violation violation) {
    static constexpr const char* kNames[] = {"nothing", "picture",     "pulse",
                                             "line",    "other line",  "clear_mep",
                                             "answer",  "safe answer", "chip"};
    return kNames[static_cast<std::size_t>(violation)];
}

Postcondition::Postcondition(const Kind& itsKind, const Operation& asked, bool isFresh)
    : kind(itsKind), operation(asked), configures(isFresh), journalBefore(rig_journal_size()),
      capturesBefore(rig_captures()) {
    for (std::size_t i = 0; i < before.size(); ++i) {
        before[i] = IsHigh(static_cast<rig_line>(i));
    }
}

Violation Postcondition::Check(short answer) const {
    switch (operation.op) {
    case Op::TriggerCapture:
        return CheckPicture();
    case Op::WakeCamera:
        return CheckWake();
    case Op::CloseDevice:
    case Op::ResetComPort:
        return CheckChip();
    default:
        break;
    }
    const Violation wrong = operation.hasAnswer ? CheckAnswer(answer) : Violation::None;
    return wrong == Violation::None ? CheckLines() : wrong;
}

Violation Postcondition::CheckPicture() const {
    if (rig_captures() != capturesBefore + 1) {
        return Violation::Picture;
    }
    const bool isAsLong = LastPulse(RIG_TRIGGER) == kPulse + kind.behaviour.accessMilliseconds;
    return isAsLong ? CheckLines() : Violation::Pulse;
}

/// A recovery in between lengthens the pulse, which wakes the camera as well.
Violation Postcondition::CheckWake() const {
    return LastPulse(RIG_DARK) >= kPulse ? CheckLines() : Violation::Pulse;
}

Violation Postcondition::CheckAnswer(short answer) const {
    const bool isFlag = operation.op == Op::CheckAndResetMepFlag;
    const bool isTrue = isFlag ? before[RIG_MEP] && !(configures && kind.behaviour.clearsFlag)
                               : IsHigh(static_cast<rig_line>(operation.line));
    if ((answer != 0) != isTrue) {
        return IsSafe(answer) ? Violation::SafeAnswer : Violation::Answer;
    }
    return isFlag && IsHigh(RIG_MEP) ? Violation::ClearMep : Violation::None;
}

/// Harmless: powered, not dark, not ready, no flag.
bool Postcondition::IsSafe(short answer) const {
    switch (operation.op) {
    case Op::CheckCameraPower:
        return answer == (kind.lostPowerIsOff ? 0 : 1);
    case Op::CheckAccessoriesPower:
        return kind.behaviour.isUsb && answer == 1; // on the others no line is read
    default:
        return answer == 0;
    }
}

/// The operation's own line is at its level; the others are as before, or as configuring leaves
/// them.
Violation Postcondition::CheckLines() const {
    std::array<bool, RIG_LINE_COUNT> after = before;
    if (configures) {
        after[RIG_TRIGGER] = false;
        after[RIG_CLEAR_MEP] = after[RIG_CLEAR_MEP] && !kind.restsClearMep;
        // The FT2232H first releases its lines, which then follow their pulls.
        if (kind.behaviour.switchesOn || kind.behaviour.isUsb) {
            after[RIG_CAMERA_POWER] = true;
            after[RIG_ACCESSORIES_POWER] = true;
            after[RIG_DARK] = false;
        }
    }
    const auto isWrong = [&](rig_line line) { return IsHigh(line) != after[line]; };
    const auto own = static_cast<rig_line>(operation.line);
    const bool isOwn = operation.line != NO_LINE && !operation.hasAnswer;
    if (isOwn && operation.op != Op::WakeCamera) {
        after[own] = operation.level != 0;
    }
    if (isOwn && isWrong(own)) {
        return Violation::Line;
    }
    if (std::ranges::any_of(
            std::array{RIG_TRIGGER, RIG_DARK, RIG_CAMERA_POWER, RIG_ACCESSORIES_POWER}, isWrong)) {
        return Violation::OtherLine;
    }
    return isWrong(RIG_CLEAR_MEP) ? Violation::ClearMep : Violation::None;
}

/// ResetComPort: channel A was reset and closed. CloseDevice: channel B is closed, if it was open.
Violation Postcondition::CheckChip() const {
    if (!kind.behaviour.isUsb) {
        return Violation::None;
    }
    bool isReset = false;
    bool isClosed = operation.op == Op::CloseDevice && configures;
    rig_entry entry{};
    bool isAtFault = false;
    for (std::size_t i = journalBefore; rig_journal_entry(i, &entry) == 0; ++i) {
        const std::string_view text = entry.text;
        if (std::exchange(isAtFault, text.starts_with("fault "))) {
            continue; // its result does not tell what it did
        }
        isReset = isReset || text == "FT_ResetDevice(SLV1A) -> 0";
        isClosed = isClosed || text == (operation.op == Op::CloseDevice ? "FT_Close(SLV1B) -> 0"
                                                                        : "FT_Close(SLV1A) -> 0");
    }
    const bool isDone = isClosed && (isReset || operation.op == Op::CloseDevice);
    return isDone ? Violation::None : Violation::Chip;
}

std::uint64_t Postcondition::LastPulse(rig_line line) const {
    std::uint64_t width = 0;
    std::uint64_t last = 0;
    int edges = 0;
    const std::string_view name = rig_line_name(line);
    rig_entry entry{};
    for (std::size_t i = journalBefore; rig_journal_entry(i, &entry) == 0; ++i) {
        const std::string_view text = entry.text;
        if (entry.kind == RIG_EDGE && text.substr(0, text.size() - 2) == name) {
            width = ++edges < 2 ? 0 : entry.time - last;
            last = entry.time;
        }
    }
    return width / kNanosecondsPerMillisecond;
}

} // namespace proof
