#include "pin_record.h"

#include <algorithm>

namespace rig::record {

namespace {

bool Bit(std::uint32_t word, const Wire& wire) {
    return (word >> wire.bit & 1) != 0;
}

} // namespace

void LineLog::Drive(rig_line line, std::optional<bool> level, const Instant& when, bool isRead) {
    driven[line] = true;
    entries.push_back({when, line, level, false, isRead});
}

void LineLog::Release(rig_line line, const Instant& when) {
    driven[line] = false;
    entries.push_back({when, line, std::nullopt, false, false});
}

void LineLog::Read(rig_line line, bool level, const Instant& when, const DrivenLines& drivenThen) {
    if (!drivenThen[line]) {
        const bool isCameras = line == RIG_READY || line == RIG_MEP;
        entries.push_back({when, line, level, isCameras, true});
    }
}

void LineLog::WriteTo(RecordedLines& lines) const {
    std::vector<Entry> ordered = entries;
    std::ranges::stable_sort(ordered, {}, [](const Entry& entry) { return entry.when.order; });
    std::array<std::optional<bool>, RIG_LINE_COUNT> levels;
    for (const Entry& entry : ordered) {
        if (entry.isSample) {
            lines.samples.push_back(
                {entry.when.time, entry.line, entry.level.value_or(false), entry.when.call});
        }
        if (levels[entry.line] != entry.level) {
            levels[entry.line] = entry.level;
            lines.changes.push_back(
                {entry.when.time, entry.line, entry.level, entry.when.call, entry.isRead});
        }
    }
}

void PinRecord::SetLevels(std::uint32_t value, std::uint32_t mask, const Instant& when) {
    latch = (latch & ~mask) | (value & mask);
    known |= mask;
    for (const Wire& wire : wires) {
        if (Bit(outputs & mask, wire)) {
            Drive(wire, when);
        }
    }
}

void PinRecord::SetOutputs(std::uint32_t pins, const Instant& when) {
    const std::uint32_t before = outputs;
    outputs = pins;
    for (const Wire& wire : wires) {
        if (Bit(pins & ~before, wire)) {
            Drive(wire, when);
        } else if (wire.isDrivenByChip && Bit(before & ~pins, wire)) {
            log.Release(wire.line, when);
        }
    }
}

void PinRecord::Drive(const Wire& wire, const Instant& when, bool isRead) {
    if (wire.isDrivenByChip) {
        const bool level = Bit(latch, wire) == wire.activeLevel;
        log.Drive(wire.line, Bit(known, wire) ? std::optional(level) : std::nullopt, when, isRead);
    }
}

void PinRecord::Read(std::uint32_t value, std::uint32_t mask, const Instant& when,
                     const DrivenLines& drivenThen) {
    const std::uint32_t shown = mask & outputs & ~known; // an output reads what it was set to
    latch = (latch & ~shown) | (value & shown);
    known |= shown;
    for (const Wire& wire : wires) {
        const bool isOutput = wire.isDrivenByChip && Bit(outputs, wire);
        if (isOutput && Bit(shown, wire)) {
            Drive(wire, when, true);
        } else if (!isOutput && Bit(mask, wire)) {
            log.Read(wire.line, Bit(value, wire) == wire.activeLevel, when, drivenThen);
        }
    }
}

} // namespace rig::record
