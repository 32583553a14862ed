#include "camera_model.h"

namespace proof {

std::string CameraStart::Scenario() const {
    std::string text = "[camera]\nexposure_ms = " + std::to_string(exposure) +
                       "\nready_after_power_ms = " + std::to_string(readyAfterPower) + "\n";
    text += asleep ? "asleep = true\n" : "";
    text += flagLatched ? "mep_latched = true\n" : "";
    text += flagStuck ? "mep = \"stuck\"\n" : "";
    text += "[pulls]\n";
    text += pulledDark ? "dark = 1\n" : "";
    text += pulledOn ? "" : "camera_power = 0\naccessories_power = 0\n";
    return text;
}

CameraModel::CameraModel(const CameraStart& how)
    : start(how), mood(!how.pulledOn ? Mood::Off
                       : how.asleep  ? Mood::Asleep
                                     : Mood::Ready) {
    levels[RIG_READY] = mood == Mood::Ready;
    levels[RIG_MEP] = how.flagLatched;
    levels[RIG_DARK] = how.pulledDark;
    levels[RIG_CAMERA_POWER] = how.pulledOn;
    levels[RIG_ACCESSORIES_POWER] = how.pulledOn;
}

void CameraModel::Wait(Milliseconds milliseconds) {
    const Milliseconds until = now + milliseconds;
    const bool ends = mood == Mood::Starting || mood == Mood::Exposing;
    if (ends && moodEnds <= until) {
        now = moodEnds;
        if (mood == Mood::Exposing && (start.flagStuck || !Level(RIG_CLEAR_MEP))) {
            Set(RIG_MEP, true);
        }
        Become(Mood::Ready);
    }
    now = until;
}

void CameraModel::Drive(rig_line line, bool level) {
    if (Level(line) == level) {
        return;
    }
    Set(line, level);
    if (line == RIG_TRIGGER && level && mood == Mood::Ready) {
        ++captures;
        Become(Mood::Exposing, now + start.exposure);
    } else if (line == RIG_CLEAR_MEP && level && !start.flagStuck) {
        Set(RIG_MEP, false);
    } else if (line == RIG_DARK && mood == Mood::Asleep) {
        Become(Mood::Ready);
    } else if (line == RIG_CAMERA_POWER) {
        Become(level ? Mood::Starting : Mood::Off, now + start.readyAfterPower);
    }
}

void CameraModel::LetGo() {
    Drive(RIG_TRIGGER, false);
    Drive(RIG_DARK, start.pulledDark);
    Drive(RIG_CAMERA_POWER, start.pulledOn);
    Drive(RIG_ACCESSORIES_POWER, start.pulledOn);
    Drive(RIG_CLEAR_MEP, false);
}

void CameraModel::Become(Mood next, Milliseconds until) {
    mood = next;
    moodEnds = until;
    Set(RIG_READY, mood == Mood::Ready);
}

void CameraModel::Set(rig_line line, bool level) {
    if (levels[line] != level) {
        levels[line] = level;
        edges.push_back({now, line, level});
    }
}

} // namespace proof
