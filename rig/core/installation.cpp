#include "installation.h"

#include <algorithm>
#include <string>
#include <utility>

namespace rig {

namespace {

constexpr const void* kForcer = nullptr; // drives a line that is forced: no chip

/// With its blank where the name of another wire follows.
std::string ConditionName(WireFault::Kind kind) {
    static constexpr std::array kNames = {"broken",   "stuck at 0",    "stuck at 1",
                                          "inverted", "swapped with ", "shorted to "};
    return kNames[static_cast<std::size_t>(kind)];
}

} // namespace

Installation::Installation(const CameraSetup& start, Timeline& time, Trace& log)
    : setup(start), timeline(time), trace(log) {
    activity = !Pull(RIG_CAMERA_POWER) ? Activity::Off
               : setup.asleep          ? Activity::Asleep
               : !setup.ready          ? Activity::Busy
                                       : Activity::Ready;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        lines[i].rest = Pull(static_cast<rig_line>(i));
    }
    lines[RIG_READY].rest = activity == Activity::Ready;
    lines[RIG_MEP].rest = setup.mepLatched;
    for (Line& line : lines) {
        line.level = line.rest;
    }
}

Levels Installation::AllLevels() const {
    Levels levels;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        levels[i] = lines[i].level;
    }
    return levels;
}

void Installation::Drive(rig_line line, bool level, const void* driver) {
    std::vector<Driver>& drivers = lines[line].drivers;
    const auto same = std::ranges::find(drivers, driver, &Driver::who);
    if (isRewiring && same != drivers.end()) {
        same->level = level; // rewiring keeps the order of the drivers
        return;
    }
    std::erase_if(drivers, [&](const Driver& other) { return other.who == driver; });
    drivers.push_back({driver, level});
    Update(line);
}

void Installation::Release(rig_line line, const void* driver) {
    std::vector<Driver>& drivers = lines[line].drivers;
    const auto same = std::ranges::find(drivers, driver, &Driver::who);
    if (same == drivers.end()) {
        return;
    }
    if (isRewiring) {
        same->level.reset(); // keeps its rank for when the wire is repaired
    } else {
        drivers.erase(same);
    }
    Update(line);
}

void Installation::Rest(rig_line line, bool level) {
    lines[line].rest = level;
    Update(line);
}

/// The level of a line that nothing drives: its pull, or the level at which its wire is stuck.
bool Installation::Pull(rig_line line) const {
    bool level = setup.pulls[line];
    for (const WireFault& fault : setup.wiring) {
        const bool isStuck =
            fault.kind == WireFault::Kind::StuckAt0 || fault.kind == WireFault::Kind::StuckAt1;
        if (isStuck && fault.wire == LineName(line)) {
            level = fault.kind == WireFault::Kind::StuckAt1;
        }
    }
    return level;
}

void Installation::Rewire(const std::string& wire, const std::optional<WireFault>& fault) {
    const auto concerns = [](const WireFault& each, const std::string& name) {
        return each.wire == name || (each.HasOther() && each.other == name);
    };
    std::erase_if(setup.wiring, [&](const WireFault& old) {
        return concerns(old, wire) || (fault && fault->HasOther() && concerns(old, fault->other));
    });
    if (fault) {
        setup.wiring.push_back(*fault);
    }
    // All wires first, then the levels, so that no line shows an intermediate state.
    isRewiring = true;
    shorts.clear();
    for (const auto& layWires : chips) {
        layWires();
    }
    isRewiring = false;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const auto line = static_cast<rig_line>(i);
        if (line != RIG_READY && line != RIG_MEP) {
            lines[i].rest = Pull(line);
        }
    }
    for (std::size_t i = 0; i < lines.size(); ++i) {
        Update(static_cast<rig_line>(i));
    }
}

void Installation::Connect(const Short& wires) {
    if (wires.one.line != wires.other.line) {
        shorts.push_back(wires);
        Update(wires.one.line);
    }
}

/// The level from the line's driver or its rest level, without shorts.
bool Installation::Given(rig_line line) const {
    const Line& it = lines[line];
    const auto last =
        std::ranges::find_if(it.drivers.rbegin(), it.drivers.rend(),
                             [](const Driver& driver) { return driver.level.has_value(); });
    return last == it.drivers.rend() ? it.rest : *last->level;
}

/// The level with shorts: a wire that is low pulls down those that it touches.
bool Installation::Effective(rig_line line) const {
    bool level = Given(line);
    for (const Short& wires : shorts) {
        for (const auto& [own, other] :
             {std::pair{wires.one, wires.other}, std::pair{wires.other, wires.one}}) {
            if (own.line == line && Given(other.line) != other.activeLevel) {
                level = !own.activeLevel;
            }
        }
    }
    return level;
}

void Installation::Update(rig_line line) {
    if (isRewiring) {
        return;
    }
    SetLevel(line, Effective(line));
    for (std::size_t i = 0; i < shorts.size(); ++i) { // re-entered if the camera reacts
        const rig_line one = shorts[i].one.line;
        const rig_line other = shorts[i].other.line;
        if (one == line || other == line) {
            const rig_line touched = one == line ? other : one;
            SetLevel(touched, Effective(touched));
        }
    }
}

void Installation::SetLevel(rig_line line, bool level) {
    if (level != lines[line].level) {
        lines[line].level = level;
        trace.Edge(line, level);
        React(line);
    }
}

void Installation::React(rig_line line) {
    const bool active = lines[line].level;
    switch (line) {
    case RIG_TRIGGER:
        if (active && activity == Activity::Ready) {
            Capture();
        } else if (active) {
            ++ignored;
            trace.Event("ignored trigger");
        }
        break;
    case RIG_CLEAR_MEP:
        if (active && setup.behaviour.mep != Mep::Stuck) {
            Rest(RIG_MEP, false);
        }
        break;
    case RIG_DARK:
        if (activity == Activity::Asleep) {
            Become(Activity::Ready);
        }
        break;
    case RIG_CAMERA_POWER:
        SwitchPower(active);
        break;
    default: // the camera ignores the other lines
        break;
    }
}

void Installation::SwitchPower(bool on) {
    if (!on) {
        Become(Activity::Off);
        return;
    }
    Become(Activity::Starting);
    pending = timeline.After(setup.behaviour.readyAfterPower, [this] { Become(Activity::Ready); });
}

void Installation::Capture() {
    ++captures;
    trace.Event("capture " + std::to_string(captures));
    Become(Activity::Exposing);
    pending = timeline.After(setup.behaviour.exposure, [this] { EndExposure(); });
}

void Installation::EndExposure() {
    if (setup.behaviour.mep != Mep::Never) {
        LatchMep();
    }
    Become(Activity::Ready);
}

void Installation::LatchMep() {
    // The latch is in the interface electronics: it works without camera power, and a clear that is
    // still active wins.
    if (!Level(RIG_CLEAR_MEP) || setup.behaviour.mep == Mep::Stuck) {
        Rest(RIG_MEP, true);
    }
}

void Installation::BecomeReady() {
    if (activity != Activity::Off) {
        Become(Activity::Ready);
    }
}

void Installation::BecomeBusy() {
    if (activity != Activity::Off) {
        Become(Activity::Busy);
    }
}

void Installation::SetAsleep(bool asleep) {
    if (asleep && activity != Activity::Off) {
        Become(Activity::Asleep);
    } else if (!asleep && activity == Activity::Asleep) {
        Become(Activity::Ready);
    }
}

void Installation::Force(rig_line line, std::optional<bool> level) {
    if (level) {
        Drive(line, *level, kForcer);
    } else {
        Release(line, kForcer);
    }
}

std::optional<bool> Installation::Forced(rig_line line) const {
    const std::vector<Driver>& drivers = lines[line].drivers;
    const auto forcer = std::ranges::find(drivers, kForcer, &Driver::who);
    return forcer != drivers.end() ? forcer->level : std::nullopt;
}

const char* Installation::ActivityName() const {
    static constexpr std::array kNames = {"off", "starting", "asleep", "busy", "ready", "exposing"};
    return kNames[static_cast<std::size_t>(activity)];
}

std::string Installation::ConditionOf(const std::string& wire) const {
    for (const WireFault& fault : setup.wiring) {
        if (fault.wire == wire) {
            return ConditionName(fault.kind) + fault.other;
        }
        if (fault.HasOther() && fault.other == wire) {
            return ConditionName(fault.kind) + fault.wire;
        }
    }
    return kHealthy;
}

void Installation::Become(Activity next) {
    timeline.Cancel(pending);
    activity = next;
    Rest(RIG_READY, activity == Activity::Ready);
}

} // namespace rig
