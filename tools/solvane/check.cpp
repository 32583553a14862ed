#include "check.h"

#include <algorithm>
#include <array>

#include "check_steps.h"

namespace host {

namespace {

struct Step {
    const char* key;
    const char* title;
    const char* done;
    const char* expected;
    Needs needs;
    const char* question; ///< asked of the user before the step runs
    void (Run::*perform)(StepResult& step);
};

using enum Needs;

constexpr std::array kSteps{
    Step{"library", "library", "loaded Solvane.dll", "a 64-bit DLL with all functions", nothing, "",
         &Run::Library},
    Step{"vendor_dlls", "vendor DLLs", "looked at what Windows has loaded",
         "64-bit DLLs, and no different ones of their names where Windows looks for them", nothing,
         "", &Run::VendorDlls},
    Step{"kinds", "kinds", "looked for each kind of hardware in its order", "one answers", nothing,
         "", &Run::Kinds},
    Step{"chip", "chip or port", "asked which piece of hardware serves",
         "the camera's, and no other", hardware, "", &Run::Chip},
    Step{"rest", "rest levels", "asked for each line", "dark off, both powers on, the flag down",
         hardware, "", &Run::Rest},
    Step{"ready", "ready", "waited up to 2 s", "the camera is ready", hardware, "", &Run::Ready},
    Step{"wake", "wake", "inverted dark for 10 ms", "the camera is ready, and dark as before",
         lines, "Wake the camera, which flashes the dark line?", &Run::Wake},
    Step{"dark", "dark", "switched dark on and off",
         "it reads on, then off; no picture, no other line", lines, "Switch dark on and off?",
         &Run::Dark},
    Step{"camera_power", "camera power", "switched camera power off and on",
         "it reads off, then on; ready goes and comes back; no picture, no other line", power,
         "Switch camera power off and on?", &Run::CameraPower},
    Step{"accessories_power", "accessories", "switched accessories power off and on",
         "it reads off, then on; no picture, no other line", power,
         "Switch accessories power off and on?", &Run::AccessoriesPower},
    Step{"opening", "opening", "closed the hardware and opened it again", "no picture is taken",
         lines, "Close the hardware and open it again?", &Run::Opening},
    Step{"capture", "a capture", "triggered once, and asked for ready and the flag",
         "given; ready falls and comes back; the flag comes up, and goes down when it is asked for",
         lines, "Take a picture?", &Run::OneCapture},
    Step{"captures", "captures", "triggered again, each time when ready",
         "all are given, and all confirmed by the flag", lines, "Take the other pictures?",
         &Run::ManyCaptures},
    Step{"ready_follows", "ready follows", "compared the answers of all steps",
         "ready was seen to be away, and to be there", hardware, "", &Run::ReadyFollows},
    Step{"timing", "timing", "measured Sleep(10)", "10 to 12 ms with the resolution raised",
         nothing, "", &Run::Timing},
    Step{"timer", "timer driver", "looked for the driver, and ran a timer for three events",
         "three events in time, each a trigger that was given", timer, "", &Run::Timer},
};

const char* WhyNothing(int availability) {
    return availability == 0 ? "" : "No hardware serves the camera.";
}

/// What no program can verify on these lines; a technician has to measure it.
std::vector<std::string> ListUnseen(const Observations& seen) {
    const KindOfWires& wires = WiresOf(seen.kind);
    const auto at = [](const char* line, std::string_view pin) {
        return std::string(line) + " (" + std::string(pin) + ")";
    };
    std::vector<std::string> list{
        "the voltages, and how long a pulse really is: " + at("trigger", wires.trigger) +
        ", an oscilloscope at the camera's plug while solvane trigger -n 100 --interval 200 runs"};
    if (wires.darkBack != ReadBack::wire) {
        list.push_back(at("dark", wires.dark) +
                       ", at the camera's plug while solvane hold dark --for 10 runs");
    }
    if (wires.accessoriesPowerBack != ReadBack::wire) {
        list.push_back(at("accessories power", wires.accessoriesPower) +
                       ", at the plug while solvane hold accessories-power --for 10 runs");
    }
    list.push_back("whether a camera that sleeps wakes: let it fall asleep, then solvane wake");
    return list;
}

} // namespace

const char* Describe(Outcome outcome) {
    constexpr std::array kWords{"ok", "FAIL", "not tested", "note"};
    return kWords[static_cast<std::size_t>(outcome)];
}

std::string CheckResult::Verdict() const {
    return std::string(isComplete ? "" : "INCOMPLETE ") + (hasFailed ? "FAIL" : "PASS");
}

CheckResult RunCheck(const CheckHost& host) {
    return Run(host).All();
}

double Run::Since(Moment begin) const {
    return Milliseconds(SteadyNow() - begin).count();
}

/// When a chip stops answering, the library itself resets and reopens it. The operation succeeds
/// and only takes longer, so the log is the one place where this shows.
void Run::SeeComeback(StepResult& step) {
    const std::vector<std::string> lines = host.log.Lines();
    const auto begin = lines.begin() + static_cast<std::ptrdiff_t>(linesSeen);
    linesSeen = lines.size();
    const bool isReset = std::any_of(begin, lines.end(), [](const std::string& line) {
        return line.find("Resetting the port") != line.npos;
    });
    if (isReset && !seen.isLost) {
        seen.hasComeBack = true;
        step.seen.emplace_back("the chip did not answer, and was reset and opened again");
        step.Fail();
    }
}

CheckResult Run::All() {
    const Moment begin = SteadyNow();
    availability = host.library.CheckAvailable();
    findingMs = Since(begin);
    result.status = availability;
    result.machine = host.lookAtMachine();
    seen.isAvailable = availability == 0;
    seen.kind = host.log.LastTried().value_or("");

    for (const Step& each : kSteps) {
        StepResult step;
        step.status = availability;
        step.key = each.key;
        step.title = each.title;
        step.done = each.done;
        step.expected = each.expected;
        std::string why =
            each.needs == nothing || each.needs == timer ? "" : WhyNothing(availability);
        if (why.empty() && seen.isLost && each.needs != nothing) {
            why = "The hardware left.";
        }
        if (why.empty() && *each.question != '\0') {
            why = host.whyNot(each.needs, each.question);
        }
        const Moment stepBegin = SteadyNow();
        if (why.empty()) {
            (this->*each.perform)(step);
        } else {
            step.LeaveUntested(why);
        }
        SeeComeback(step);
        step.milliseconds += Since(stepBegin);
        result.hasFailed = result.hasFailed || step.outcome == Outcome::failed;
        result.isComplete = result.isComplete && step.outcome != Outcome::notTested;
        host.report(step);
        result.steps.push_back(std::move(step));
    }
    if (result.hasFailed) {
        const auto first =
            std::find_if(result.steps.begin(), result.steps.end(),
                         [](const StepResult& step) { return step.outcome == Outcome::failed; });
        const std::string title = first->title;
        result.cause = availability != 0
                           ? Cause{"no_hardware", "No hardware serves the camera.",
                                   "Of each kind the step \"kinds\" tells what is missing.",
                                   "Do what it says of the kind that is fitted here."}
                           : FindCause(seen).value_or(Cause{
                                 "step", "The step \"" + title + "\" failed.", first->advice, ""});
    }
    const bool isGone = result.cause.id == "lost" || result.cause.id == "came_back";
    if (isGone && seen.kind == "FT2232H" && result.machine.usbSuspend == true) {
        result.cause.tellApart += " Windows may suspend USB devices here: switch \"USB selective "
                                  "suspend\" off in the power plan, and check again.";
    }
    if (availability == 0) {
        result.notSeen = ListUnseen(seen);
    }
    return std::move(result);
}

} // namespace host
