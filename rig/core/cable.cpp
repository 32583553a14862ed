#include "cable.h"

#include <algorithm>
#include <optional>

#include "waveform.h"

namespace rig {

namespace {

using Groups = std::span<const std::span<const Wire>>;

const Wire* Find(Groups chip, const std::string& name) {
    for (const std::span<const Wire> group : chip) {
        const auto found =
            std::ranges::find_if(group, [&](const Wire& wire) { return WireName(wire) == name; });
        if (found != group.end()) {
            return &*found;
        }
    }
    return nullptr;
}

void Set(std::uint32_t& levels, std::uint8_t bit, bool level) {
    const std::uint32_t mask = std::uint32_t{1} << bit;
    levels = level ? levels | mask : levels & ~mask;
}

/// Adds a wire as its fault leaves it; a broken or stuck wire is not added.
void Lay(const Wire& wire, const WireFault* fault, const Wire* other, LaidWires& laid) {
    using Kind = WireFault::Kind;
    if (fault == nullptr || (fault->HasOther() && other == nullptr)) {
        laid.wires.push_back(wire);
        return;
    }
    switch (fault->kind) {
    case Kind::Broken:
        break;
    case Kind::StuckAt0:
    case Kind::StuckAt1: // a stuck driven line gets its level in Pull()
        if (!wire.isDrivenByChip) {
            Set(laid.open, wire.bit, (fault->kind == Kind::StuckAt1) == wire.activeLevel);
        }
        break;
    case Kind::Inverted:
        laid.wires.push_back({wire.bit, wire.line, !wire.activeLevel, wire.isDrivenByChip});
        break;
    case Kind::SwappedWith:
        laid.wires.push_back({wire.bit, other->line, other->activeLevel, wire.isDrivenByChip});
        break;
    case Kind::ShortedTo:
        laid.wires.push_back(wire);
        laid.shorts.push_back({wire, *other});
        break;
    }
}

} // namespace

std::string WireName(const Wire& wire) {
    const bool isInput = wire.line == RIG_READY || wire.line == RIG_MEP;
    return std::string(LineName(wire.line)) + (isInput || wire.isDrivenByChip ? "" : "_back");
}

std::vector<std::string> WireNames() {
    std::vector<std::string> names;
    for (int line = 0; line < RIG_LINE_COUNT; ++line) {
        names.emplace_back(LineName(static_cast<rig_line>(line)));
    }
    for (const rig_line line : {RIG_DARK, RIG_CAMERA_POWER, RIG_ACCESSORIES_POWER}) {
        names.push_back(WireName({0, line, true, false}));
    }
    return names;
}

LaidWires LayWires(std::span<const Wire> group, std::uint32_t open, Groups chip,
                   std::span<const WireFault> faults) {
    LaidWires laid{{}, open, {}};
    for (const Wire& wire : group) {
        const std::string name = WireName(wire);
        // A fault that names two wires applies to both.
        const auto fault = std::ranges::find_if(faults, [&](const WireFault& each) {
            return each.wire == name || (each.HasOther() && each.other == name);
        });
        if (fault == faults.end()) {
            Lay(wire, nullptr, nullptr, laid);
        } else {
            Lay(wire, &*fault, Find(chip, fault->wire == name ? fault->other : fault->wire), laid);
        }
    }
    return laid;
}

} // namespace rig
