/// The functions of solvane/rig.h on the hardware of this process.
#include "environment.h"
#include "remote_rig.h"
#include "rig_state.h"

namespace rig {

namespace {

constexpr std::int64_t kDone = 0;
constexpr std::int64_t kFailed = -1;

std::int64_t DoneIf(bool condition) {
    return condition ? kDone : kFailed;
}

std::int64_t SetPlugged(Rig& rig, std::uint64_t chip, bool plugged) {
    if (chip >= rig.Chips()) {
        return kFailed;
    }
    rig.trace.Event((plugged ? "plug " : "unplug ") + std::to_string(chip));
    rig.SetPlugged(static_cast<unsigned>(chip), plugged);
    return kDone;
}

std::int64_t Force(Rig& rig, rig_line line, std::int64_t level) {
    rig.installation->Force(line, level < 0 ? std::nullopt : std::optional(level != 0));
    return kDone;
}

std::int64_t WriteVcd(Rig& rig, const std::optional<std::string>& path) {
    if (!path) {
        rig.trace.EndWaveform();
        return kDone;
    }
    return DoneIf(
        rig.trace.StartWaveform(PathFromUtf8(path->c_str()), rig.installation->AllLevels()));
}

std::int64_t Load(Rig& rig, const std::optional<std::string>& toml) {
    if (!toml) {
        rig.LoadDefault();
        return kDone;
    }
    return DoneIf(rig.LoadText(*toml));
}

RigAnswer EntryOf(const Journal& journal, std::uint64_t index) {
    if (index >= journal.Size()) {
        return {kFailed, 0, {}};
    }
    const Journal::Entry& entry = journal[static_cast<std::size_t>(index)];
    return {entry.kind, entry.time, entry.text};
}

} // namespace

RigAnswer AnswerLocally(const RigQuestion& question) {
    Access access;
    Rig& rig = *access.operator->();
    const auto& [first, second, third, fourth, fifth] = question.numbers;
    const auto number = [](auto value) {
        return RigAnswer{static_cast<std::int64_t>(value), 0, {}};
    };
    const auto line = static_cast<rig_line>(first < RIG_LINE_COUNT ? first : 0);
    const std::string text = question.text.value_or("");
    switch (question.function) {
    case RigFunction::Load:
        return number(Load(rig, question.text));
    case RigFunction::LoadFile:
        return number(DoneIf(rig.LoadFile(PathFromUtf8(text.c_str()))));
    case RigFunction::Error:
        return {kDone, 0, rig.Error()};
    case RigFunction::Scenario:
        return {kDone, 0, rig.ScenarioName()};
    case RigFunction::Level:
        return number(rig.installation->Level(line));
    case RigFunction::Force:
        return number(Force(rig, line, static_cast<std::int64_t>(second)));
    case RigFunction::Captures:
        return number(rig.installation->Captures());
    case RigFunction::SetPlugged:
        return number(SetPlugged(rig, first, second != 0));
    case RigFunction::AddFault:
        return number(DoneIf(rig.faults.Add(
            {text, static_cast<std::uint32_t>(first), static_cast<std::uint32_t>(second),
             static_cast<std::uint32_t>(third), static_cast<std::uint32_t>(fourth),
             static_cast<std::uint32_t>(fifth)})));
    case RigFunction::ClearFaults:
        rig.faults.Clear();
        return number(kDone);
    case RigFunction::Calls:
        return number(rig.faults.Calls(question.text ? text : kAnyFunction));
    case RigFunction::JournalSize:
        return number(rig.trace.journal.Size());
    case RigFunction::JournalEntry:
        return EntryOf(rig.trace.journal, first);
    case RigFunction::JournalClear:
        rig.trace.journal.Clear();
        return number(kDone);
    case RigFunction::Note:
        rig.Note(text);
        return number(kDone);
    case RigFunction::Time:
        return {kDone, rig.timeline.Now(), {}};
    case RigFunction::WriteVcd:
        return number(WriteVcd(rig, question.text));
    }
    return number(kFailed);
}

} // namespace rig
