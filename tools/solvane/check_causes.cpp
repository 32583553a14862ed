/// Finds the cause that fits the observations. The first matching row counts, so a cause stands
/// above the more general ones that its observations match as well.

#include <algorithm>
#include <array>

#include "observations.h"

namespace host {

namespace {

bool Reads(const std::optional<bool>& answer, bool expected) {
    return answer && *answer == expected;
}

bool IsUp(Flag flag) {
    return flag == Flag::stuck;
}

/// The line reads back the opposite of what was set.
bool IsInverted(const Switched& line, ReadBack back) {
    return back == ReadBack::wire && Reads(line.whenOn, false) && Reads(line.whenOff, true);
}

/// The line reads back this level, whatever was set.
bool IsStuck(const Switched& line, ReadBack back, bool level) {
    return back == ReadBack::wire && Reads(line.whenOn, level) && Reads(line.whenOff, level);
}

bool IsCrossed(const Switched& line) {
    return line.tookPicture || !line.moved.empty();
}

using Seen = Observations;
const KindOfWires& Wires(const Seen& seen) {
    return WiresOf(seen.kind);
}
ReadBack PowerBack(const Seen& seen) {
    return Wires(seen).cameraPowerBack;
}

/// Ready stayed high while camera power was switched off and on.
bool ReadyIgnoresPower(const Seen& seen) {
    return Reads(seen.readyWithoutPower, true) && Reads(seen.readyWithPower, true);
}

bool TookNone(const Seen& seen) {
    return seen.capture && seen.capture->status == 0 && !seen.capture->flag;
}

struct Row {
    const char* id;
    bool (*speaks)(const Seen&);
    const char* says;
    const char* likely;
    const char* tellApart;
};

// In the texts, %trigger and the like stand for the line's pin on the serving kind of hardware,
// %crossed for the lines that were found crossed.
constexpr std::array kRows{
    Row{"no_camera", [](const Seen& seen) { return seen.isBare; },
        "The chip answers, but no camera is wired to it: all of its pins read 1.",
        "The camera's cable is not plugged in, or the camera hangs on another chip.",
        "Plug the cable in; of several chips leave the camera's alone plugged in."},
    Row{"lost", [](const Seen& seen) { return seen.isLost; },
        "The hardware left while it was checked.",
        "A plug or a hub is loose, another program took it, Windows suspended it, or the PC slept.",
        "Watch the lines while the cable is moved: solvane watch."},
    Row{"came_back", [](const Seen& seen) { return seen.hasComeBack; },
        "The hardware left while it was checked, and the library brought it back.",
        "A plug or a hub is loose, Windows suspended it, or the PC slept.",
        "Watch the lines while the cable is moved: solvane watch."},
    Row{"picture_at_opening", [](const Seen& seen) { return seen.pictureAtOpening; },
        "Setting the lines to rest takes a picture.",
        "The trigger (%trigger) is inverted on its way, by an optocoupler or a level shifter, or "
        "swapped with clear-MEP (%clearMep).",
        "Measure the trigger at the camera's plug at rest: low is right, high is inverted or "
        "swapped."},
    Row{"crossed",
        [](const Seen& seen) {
            return IsCrossed(seen.dark) || IsCrossed(seen.cameraPower) ||
                   IsCrossed(seen.accessoriesPower);
        },
        "Lines are crossed: %crossed.", "Two wires are swapped, or shorted to one another.",
        "Follow the two wires from the plug to the camera. Swapped: each line moves when the other "
        "is switched. Shorted: the two measure less than 1 ohm against one another, unplugged."},
    Row{"ready_and_flag_crossed",
        [](const Seen& seen) {
            return seen.flagFollows ||
                   (seen.capture && seen.capture->flagAgain && !seen.capture->flagAtEnd &&
                    !IsUp(seen.flagAtRest)) ||
                   (seen.capture && seen.capture->flag && seen.capture->readyFell &&
                    !seen.capture->readyReturned && !seen.capture->flagAtEnd &&
                    !IsUp(seen.flagAtRest));
        },
        "The flag is up while the camera is not ready, and not after a picture.",
        "The wires of ready (%ready) and of the MEP flag (%mep) are swapped or shorted.",
        "Follow the two wires from the plug to the camera. Shorted: they measure less than 1 ohm "
        "against one another, unplugged."},
    Row{"power_readback",
        [](const Seen& seen) {
            const Switched& power = seen.cameraPower;
            if (PowerBack(seen) != ReadBack::wire) {
                return false;
            }
            if (!power.wasTried) {
                return Reads(power.found, false) && seen.readySeenYes;
            }
            return (IsStuck(power, ReadBack::wire, true) || IsStuck(power, ReadBack::wire, false) ||
                    IsInverted(power, ReadBack::wire)) &&
                   Reads(seen.readyWithoutPower, false) && Reads(seen.readyWithPower, true);
        },
        "Camera power is switched, but its read-back does not follow.",
        "The read-back wire of camera power is open, shorted or inverted; the power line itself is "
        "in "
        "order.",
        "Measure the read-back pin while solvane hold camera-power --for 10 holds the line."},
    Row{"power_inverted",
        [](const Seen& seen) {
            const bool byReady = PowerBack(seen) == ReadBack::latch && seen.cameraPower.wasTried &&
                                 Reads(seen.readyAtRest, true) &&
                                 Reads(seen.readyWithoutPower, true) &&
                                 Reads(seen.readyWithPower, false);
            return byReady || IsInverted(seen.cameraPower, PowerBack(seen));
        },
        "Camera power does the opposite of what it is told.",
        "The power line (%cameraPower) is inverted on its way.",
        "Measure the line at the camera's plug while solvane hold camera-power --for 10 holds it."},
    Row{"power_stays_off",
        [](const Seen& seen) {
            return PowerBack(seen) == ReadBack::wire && !seen.readySeenYes &&
                   (seen.cameraPower.wasTried ? IsStuck(seen.cameraPower, ReadBack::wire, false)
                                              : Reads(seen.cameraPower.found, false));
        },
        "Camera power is off, and the camera is not ready.",
        "It was switched off (solvane camera-power on), or its line (%cameraPower) is held at off.",
        "Switch it on and measure the line at the camera's plug: at \"on\" and still without "
        "power, "
        "the supply is missing; at \"off\", the line is shorted."},
    Row{"nothing_answers",
        [](const Seen& seen) {
            return TookNone(seen) && ReadyIgnoresPower(seen) && !seen.readySeenNo;
        },
        "Neither the trigger nor camera power has any effect on the camera.",
        "The camera's plug is not in, or the wires of the trigger (%trigger) and of camera power "
        "(%cameraPower) are shorted to one another, or the ready wire (%ready) is stuck.",
        "Measure both lines at the camera's plug while they are switched: none moves, or both do, "
        "or the camera has them and ready is at fault."},
    Row{"power_dead",
        [](const Seen& seen) {
            return ReadyIgnoresPower(seen) &&
                   (PowerBack(seen) == ReadBack::wire ? Reads(seen.cameraPower.whenOff, true)
                                                      : seen.readySeenNo);
        },
        "Camera power cannot be switched off: the camera stays ready.",
        "The power line (%cameraPower) is open or shorted, or the camera has a supply of its own. "
        "Where the trigger (%trigger) or clear-MEP (%clearMep) fails, too, the two are shorted or "
        "swapped.",
        "Measure the line at the camera's plug while solvane hold camera-power --for 10 holds it: "
        "no change there is a wire, a change is a supply that does not listen."},
    Row{"ready_inverted",
        [](const Seen& seen) {
            return Reads(seen.readyAtRest, false) && Reads(seen.readyWithoutPower, true) &&
                   Reads(seen.readyWithPower, false);
        },
        "Ready says yes when the camera has no power, and no when it has.",
        "The ready line (%ready) is inverted on its way.",
        "Measure the line at the camera's plug and at the pin: they should agree."},
    Row{"slow_after_power",
        [](const Seen& seen) {
            return Reads(seen.readyAtRest, true) && Reads(seen.readyWithoutPower, false) &&
                   Reads(seen.readyWithPower, false);
        },
        "The camera was not ready within 10 s after its power came back.",
        "It starts more slowly than that, or it needs more than its power, such as a button.",
        "solvane watch shows when it is ready; hosts that switch camera power must wait for that."},
    Row{"ready_stuck",
        [](const Seen& seen) { return ReadyIgnoresPower(seen) && !seen.readySeenNo; },
        "Ready says yes even without camera power.",
        "The ready line (%ready) is open or shorted to the supply; where camera power cannot be "
        "read back, the power line (%cameraPower) may be dead instead.",
        "Measure %ready while solvane hold camera-power --for 10 holds the power off: 0 V means "
        "that "
        "the chip does not see it, anything else that the camera gives it."},
    Row{"flag_inverted",
        [](const Seen& seen) {
            return IsUp(seen.flagAtRest) && seen.capture && seen.capture->readyFell &&
                   !seen.capture->flagAtEnd;
        },
        "The MEP flag is up at rest and down after a picture.",
        "The flag's line (%mep) is inverted on its way.",
        "Measure the line at the camera's plug and at the pin: they should agree."},
    Row{"flag_stuck", [](const Seen& seen) { return IsUp(seen.flagAtRest); },
        "The MEP flag is up and cannot be taken down.",
        "The flag's wire (%mep) is open or shorted to ground, the clear-MEP wire (%clearMep) is "
        "open, or the latch is stuck.",
        "Unplug the camera and measure %mep: still at 0 V, the wire is at fault; else measure "
        "%clearMep at the camera while solvane mep is run again and again: it should pulse."},
    Row{"flag_not_cleared",
        [](const Seen& seen) {
            return seen.capture && seen.capture->flag && seen.capture->flagAtEnd;
        },
        "The MEP flag comes up with a picture, but asking does not take it down.",
        "The clear-MEP wire (%clearMep) is open, or the latch is stuck.",
        "Measure %clearMep at the camera while solvane mep is run again and again: it should "
        "pulse."},
    Row{"flag_never",
        [](const Seen& seen) { return TookNone(seen) && seen.capture->readyFell.has_value(); },
        "The camera answers the trigger, but its MEP flag never comes up.",
        "The flag's wire (%mep) is open, clear-MEP (%clearMep) is held at its active level, or the "
        "camera has its flag switched off.",
        "Measure %mep after a capture: 3.3 V means that the flag was never given, 0 V that the "
        "chip "
        "does not see it. Then measure %clearMep at rest."},
    Row{"trigger_dead", [](const Seen& seen) { return TookNone(seen) && !seen.capture->readyFell; },
        "Neither ready nor the MEP flag answers the trigger.",
        "The trigger's wire (%trigger) is open, shorted or swapped with clear-MEP (%clearMep), or "
        "the "
        "camera does not listen to it; or the exposure is over when the trigger returns, and the "
        "flag's wire (%mep) is open.",
        "Measure the trigger at the camera's plug with an oscilloscope while solvane trigger -n "
        "100 "
        "--interval 200 runs: a pulse of 10 ms or a little more should be there, and the flag "
        "after "
        "it."},
    Row{"not_ready",
        [](const Seen& seen) { return Reads(seen.readyAtRest, false) && !seen.capture; },
        "The camera is never ready.",
        "It is busy, asleep, without power or not plugged in, or its ready wire (%ready) is open, "
        "or "
        "shorted to ground or to another line.",
        "Measure %ready at the camera's plug: at 3.3 V the camera is ready and the wire is at "
        "fault."},
    Row{"dark_inverted",
        [](const Seen& seen) { return IsInverted(seen.dark, Wires(seen).darkBack); },
        "Dark does the opposite of what it is told.",
        "The dark line (%dark) is inverted on its way.",
        "Measure the line at the camera's plug while solvane hold dark --for 10 holds it."},
    Row{"dark_stuck",
        [](const Seen& seen) {
            return IsStuck(seen.dark, Wires(seen).darkBack, true) ||
                   IsStuck(seen.dark, Wires(seen).darkBack, false);
        },
        "Dark is switched, but what is read back does not change.",
        "The dark line (%dark) or its read-back wire is open or shorted.",
        "Measure the line at the camera's plug while solvane hold dark --for 10 holds it: where it "
        "moves, the read-back is at fault."},
    Row{"accessories_inverted",
        [](const Seen& seen) {
            return IsInverted(seen.accessoriesPower, Wires(seen).accessoriesPowerBack);
        },
        "Accessories power does the opposite of what it is told.",
        "The line (%accessoriesPower) is inverted on its way.",
        "Measure the line at the plug while solvane hold accessories-power --for 10 holds it."},
    Row{"accessories_stuck",
        [](const Seen& seen) {
            const ReadBack back = Wires(seen).accessoriesPowerBack;
            return IsStuck(seen.accessoriesPower, back, true) ||
                   IsStuck(seen.accessoriesPower, back, false);
        },
        "Accessories power is switched, but what is read back does not change.",
        "The line (%accessoriesPower) or its read-back wire is open or shorted.",
        "Measure the line at the plug while solvane hold accessories-power --for 10 holds it: "
        "where "
        "it moves, the read-back is at fault."},
    Row{"flag_only_once",
        [](const Seen& seen) {
            return seen.capture && seen.capture->flag && seen.captures.given > 0 &&
                   seen.captures.byFlag == 0;
        },
        "The MEP flag came up once, and never again after it was cleared.",
        "The clear-MEP line (%clearMep) is inverted, and stays active after its first pulse.",
        "Measure %clearMep at the camera before and after solvane mep has cleared a flag: it "
        "should "
        "be at the same level."},
    Row{"captures_lost",
        [](const Seen& seen) {
            return seen.capture &&
                   seen.captures.byFlag < seen.captures.given + seen.captures.refused;
        },
        "Some captures are refused or not confirmed.",
        "The camera needs longer between two pictures, or a contact is loose.",
        "Give it time (solvane trigger -n 20 --interval 2000 --wait-ready 5000); if some still "
        "fail, "
        "move the cables meanwhile."},
};

std::string Crossed(const Seen& seen) {
    struct Part {
        const char* name;
        const Switched& line;
    };
    std::string text;
    for (const Part& part : {Part{"dark", seen.dark}, Part{"camera power", seen.cameraPower},
                             Part{"accessories power", seen.accessoriesPower}}) {
        std::string what = part.line.tookPicture ? "takes a picture" : "";
        for (const std::string& moved : part.line.moved) {
            what += (what.empty() ? "moves " : " and moves ") + moved;
        }
        if (!what.empty()) {
            text += std::string(text.empty() ? "" : "; ") + "switching " + part.name + " " + what;
        }
    }
    return text;
}

void Replace(std::string& text, std::string_view word, std::string_view by) {
    for (std::size_t at = 0; (at = text.find(word, at)) != text.npos; at += by.size()) {
        text.replace(at, word.size(), by);
    }
}

std::string Filled(std::string text, const Seen& seen) {
    const KindOfWires& wires = Wires(seen);
    Replace(text, "%crossed", Crossed(seen));
    Replace(text, "%trigger", wires.trigger);
    Replace(text, "%ready", wires.ready);
    Replace(text, "%mep", wires.mep);
    Replace(text, "%clearMep", wires.clearMep);
    Replace(text, "%dark", wires.dark);
    Replace(text, "%cameraPower", wires.cameraPower);
    Replace(text, "%accessoriesPower", wires.accessoriesPower);
    return text;
}

} // namespace

std::optional<Cause> FindCause(const Observations& seen) {
    const auto* const row = std::find_if(kRows.begin(), kRows.end(),
                                         [&](const Row& each) { return each.speaks(seen); });
    if (row == kRows.end()) {
        return std::nullopt;
    }
    return Cause{row->id, Filled(row->says, seen), Filled(row->likely, seen),
                 Filled(row->tellApart, seen)};
}

} // namespace host
