#include "installation.h"

#include <string>
#include <utility>

namespace rig {

Installation::Installation(const CameraSetup& start, Timeline& time, Trace& log)
    : setup(start), timeline(time), trace(log) {
    activity = !setup.pulls[RIG_CAMERA_POWER] ? Activity::Off
               : setup.asleep                 ? Activity::Asleep
               : !setup.ready                 ? Activity::Busy
                                              : Activity::Ready;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        lines[i].rest = setup.pulls[i];
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
    std::erase_if(drivers, [&](const Driver& other) { return other.who == driver; });
    drivers.push_back({driver, level});
    Update(line);
}

void Installation::Release(rig_line line, const void* driver) {
    std::erase_if(lines[line].drivers, [&](const Driver& other) { return other.who == driver; });
    Update(line);
}

void Installation::Rest(rig_line line, bool level) {
    lines[line].rest = level;
    Update(line);
}

void Installation::Connect(const Short& wires) {
    if (wires.one.line != wires.other.line) {
        shorts.push_back(wires);
        Update(wires.one.line);
    }
}

/// What somebody gives a line, or its pull.
bool Installation::Given(rig_line line) const {
    const Line& it = lines[line];
    return it.drivers.empty() ? it.rest : it.drivers.back().level;
}

/// The same, unless a line that touches it is low.
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
    SetLevel(line, Effective(line));
    for (std::size_t i = 0; i < shorts.size(); ++i) { // the camera may answer with another edge
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
        }
        break;
    case RIG_CLEAR_MEP:
        if (active && setup.mep != Mep::Stuck) {
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
    default: // nothing listens to the other lines
        break;
    }
}

void Installation::SwitchPower(bool on) {
    if (!on) {
        Become(Activity::Off);
        return;
    }
    Become(Activity::Starting);
    pending = timeline.After(setup.readyAfterPower, [this] { Become(Activity::Ready); });
}

void Installation::Capture() {
    ++captures;
    trace.Event("capture " + std::to_string(captures));
    Become(Activity::Exposing);
    pending = timeline.After(setup.exposure, [this] { EndExposure(); });
}

void Installation::EndExposure() {
    if (setup.mep != Mep::Never) {
        LatchMep();
    }
    Become(Activity::Ready);
}

void Installation::LatchMep() {
    // The latch is the interface electronics' own: it needs no camera power, and a clear that is
    // still held wins.
    if (!Level(RIG_CLEAR_MEP) || setup.mep == Mep::Stuck) {
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

void Installation::Become(Activity next) {
    timeline.Cancel(pending);
    activity = next;
    Rest(RIG_READY, activity == Activity::Ready);
}

} // namespace rig
