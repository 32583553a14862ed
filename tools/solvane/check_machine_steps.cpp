/// The steps of a check that inspect the PC.

#include <algorithm>
#include <array>
#include <cmath>

#include "check_steps.h"
#include "diagnosis.h"
#include "driver_timer.h"
#include "statuses.h"
#include "symptoms.h"

namespace host {

namespace {

/// "3.2.16.0 C:\\Windows\\System32\\FTD2XX.dll, 64-bit"
std::string Text(const DllFile& file) {
    return (file.version.empty() ? "" : file.version + " ") + file.path + ", " +
           Describe(file.processor);
}

bool IsSame(const DllFile& file, const DllFile& other) {
    return !file.sha256.empty() && file.sha256 == other.sha256;
}

/// What a second file with the name of a loaded DLL means for the installation.
const char* MeaningOf(const DllFile& other, const DllFile& loaded) {
    if (IsSame(other, loaded)) {
        return "the same again: ";
    }
    if (other.processor != loaded.processor) {
        return other.isBefore ? "passed over, though Windows looks there first: "
                              : "of no use, and behind the one that is loaded: ";
    }
    return other.isBefore ? "not taken, though Windows looks there first: "
                          : "hidden by the one that is loaded: ";
}

void AddDll(StepResult& step, const LoadedDll& dll) {
    step.seen.push_back(dll.name + " " + Text(dll.file));
    step.seen.push_back("  SHA-256 " + dll.file.sha256);
    auto& facts = step.facts[dll.name];
    facts = {{"path", dll.file.path}, {"version", dll.file.version}, {"sha256", dll.file.sha256}};
    for (const DllFile& other : dll.others) {
        const std::string text = MeaningOf(other, dll.file) + Text(other);
        step.seen.push_back("  " + text);
        facts["others"].push_back(text + ", SHA-256 " + other.sha256);
    }
}

/// Longest Sleep(10), in ms, that is fine at the timer resolution that the library requests.
constexpr double kFineSleep = 12.5;

constexpr unsigned kTimerEvents = 3;

std::string Rounded(double milliseconds) {
    return std::to_string(std::lround(milliseconds * 10) / 10) + "." +
           std::to_string(std::lround(milliseconds * 10) % 10) + " ms";
}

/// Without any event, a dead driver looks the same as a parameter that asks for a longer interval,
/// because the driver alone defines the parameter's unit. After one event the interval is known,
/// and a much longer silence is a fault.
void JudgeTooFew(const TimerRunResult& run, std::chrono::seconds limit, StepResult& step) {
    constexpr const char* kRestart =
        "start it again as an administrator with \"sc stop SolvaneDevice\" and \"sc start "
        "SolvaneDevice\"";
    step.seen.push_back(std::to_string(run.events.size()) + " of " + std::to_string(kTimerEvents) +
                        " events came within " + std::to_string(limit.count()) + " s");
    double longest = 0;
    double all = 0;
    for (const TimerRunResult::Event& event : run.events) {
        longest = std::max(longest, event.afterMs);
        all += event.afterMs;
    }
    const double silence = std::chrono::duration<double, std::milli>(limit).count() - all;
    if (run.events.empty()) {
        step.Fail(std::string("Either the parameter asks for a longer interval than that (its unit "
                              "is the driver's): try a smaller one, or a longer --timer-limit. Or "
                              "the driver gives no events: ") +
                  kRestart + ".");
    } else if (silence > 2 * longest) {
        step.Fail(std::string("The driver stopped giving events: ") + kRestart + ".");
    } else {
        step.LeaveUntested("The parameter asks for too long an interval to see more: try a smaller "
                           "one, or a longer --timer-limit.");
    }
}

} // namespace

void Run::Library(StepResult& step) {
    AddDll(step, result.machine.library);
}

void Run::VendorDlls(StepResult& step) {
    step.milliseconds = result.machine.dllsMs;
    bool isAmbiguous = false;
    bool hasMisfit = false;
    for (const LoadedDll& dll : result.machine.vendorDlls) {
        AddDll(step, dll);
        for (const DllFile& other : dll.others) {
            const bool isMisfit = other.processor != dll.file.processor;
            hasMisfit = hasMisfit || isMisfit;
            isAmbiguous = isAmbiguous || (!isMisfit && !IsSame(other, dll.file));
        }
    }
    if (isAmbiguous) {
        step.advice = "Which of several copies a host gets depends on where it lies, for Windows "
                      "looks into its folder first: keep the right one beside the host, and take "
                      "the others away if nobody needs them.";
    } else if (hasMisfit) {
        step.advice = "Where such a file is the only one of its name, hosts do not start: keep the "
                      "64-bit one, and take the other away if nobody needs it.";
    }
    if (!step.advice.empty()) {
        step.outcome = Outcome::note;
    }
    if (result.machine.rig) {
        step.seen.push_back("they are " + *result.machine.rig);
        step.facts["rig"] = *result.machine.rig;
    }
}

void Run::Kinds(StepResult& step) {
    step.milliseconds = findingMs;
    Facts facts;
    if (availability == SOLVANE_OK) {
        facts.serving = host.log.LastTried();
    }
    facts.port = result.machine.port;
    facts.inpout = result.machine.inpout;
    facts.memoryIntegrity = result.machine.memoryIntegrity;
    for (const Diagnosis& kind : Diagnose(host.log, facts)) {
        std::string text = std::string(kind.kind) + ": " + kind.found;
        if (availability != SOLVANE_OK && !kind.advice.empty()) {
            text += " " + kind.advice;
        }
        step.seen.push_back(text);
        seen.isBare = seen.isBare || kind.isIll;
        if (kind.serves && !kind.advice.empty()) {
            step.advice = kind.advice;
        }
    }
    step.facts["kind"] = availability == SOLVANE_OK ? nlohmann::ordered_json(seen.kind) : nullptr;
    if (availability != SOLVANE_OK) {
        step.Fail("See what is said of the kind that is fitted here.");
    } else if (seen.isBare) {
        step.Fail(step.advice);
    }
}

void Run::Chip(StepResult& step) {
    const Machine& machine = result.machine;
    if (seen.kind == kFt2232h) {
        const auto chip = std::ranges::find_if(machine.usb, &UsbDevice::HasLines);
        const auto chips = std::ranges::count_if(machine.usb, &UsbDevice::HasLines);
        step.seen.push_back(chip == machine.usb.end()
                                ? std::string("an FT2232H, of which D2XX tells nothing")
                                : "FT2232H " + chip->serial + ", channel B, " + chip->description);
        step.facts["serial"] = chip == machine.usb.end() ? "" : chip->serial;
        step.facts["chips"] = chips;
        if (chips > 1) {
            step.outcome = Outcome::note;
            step.advice =
                "There are " + std::to_string(chips) +
                " of them, and the first in D2XX's list is taken: leave the camera's alone "
                "plugged in.";
        }
    } else if (seen.kind == kParallelPort) {
        const std::string port = machine.port ? machine.port->Description() : "a port";
        step.seen.push_back(port + ", the first range that Windows lists");
        step.facts["port"] = port;
        if (host.library.CheckPowerControlAvailable() != SOLVANE_OK) {
            step.outcome = Outcome::note;
            step.advice =
                "The power interface is not wired (pin 16 to pin 13): nothing may hang on "
                "the power lines.";
        }
    } else {
        const bool isSuperIo = seen.kind == "Super I/O";
        step.seen.emplace_back(isSuperIo
                                   ? "the Super I/O chip at 0x2E, where such chips are, GPIO bank 3"
                                   : "GPIO 0 to 7 of the board's Embedded API");
        step.facts["chip"] = seen.kind;
    }
}

void Run::Timing(StepResult& step) {
    const SleepTimes& sleep = result.machine.sleep;
    step.milliseconds = sleep.measuringMs;
    step.seen.push_back("Sleep(10) takes " + Rounded(sleep.raised) +
                        " with the resolution raised, " + Rounded(sleep.plain) + " without");
    step.times["raised_ms"] = sleep.raised;
    step.times["plain_ms"] = sleep.plain;
    if (sleep.raised > kFineSleep) {
        step.outcome = Outcome::note;
        step.advice =
            "Windows does not grant the resolution of 1 ms that the library asks for, as "
            "Windows 11 does not to a program whose window is hidden or minimised: "
            "there a sleep ends with the clock's next tick. Pulses of 10 ms last up to 16 ms, on "
            "an FT2232H up to 31 ms; on the other kinds they may be shorter, too. If captures are "
            "missed, keep the host's window visible.";
    } else if (sleep.plain > kFineSleep) {
        step.advice = "Windows 11 does not raise it for a host whose window is hidden or "
                      "minimised: there, a pulse of 10 ms lasts up to 16 ms, on an FT2232H up to "
                      "31 ms. If captures are missed, keep the host's window visible.";
    }
}

void Run::Timer(StepResult& step) {
    const DriverState state = result.machine.timerDriver;
    step.seen.push_back(std::string("SolvaneDevice ") + Describe(state));
    step.facts["driver"] = Describe(state);
    if (state != DriverState::running && !host.timerParameter) {
        step.outcome = Outcome::note;
        step.advice = AdviceOnTimerDriver(state);
        return;
    }
    if (!host.timerParameter) {
        step.LeaveUntested("Its events trigger the camera: --timer PARAMETER allows it.");
        return;
    }
    const TimerRunResult run =
        RunTimerFor(host.library, *host.timerParameter, kTimerEvents, host.timerLimit);
    if (run.status != SOLVANE_OK) {
        step.seen.push_back("status " + std::to_string(run.status) + ": " +
                            std::string(Meaning("timer", run.status)));
        step.Fail(AdviceOnTimerDriver(state));
        return;
    }
    for (const TimerRunResult::Event& event : run.events) {
        step.seen.push_back("event after " + Rounded(event.afterMs) + ", status " +
                            std::to_string(event.status));
        if (event.status != SOLVANE_OK) {
            step.Fail("The driver could not trigger: " +
                      std::string(Meaning(kTimerEvent, event.status)) + ".");
        }
    }
    if (run.events.size() < kTimerEvents && step.outcome != Outcome::failed) {
        JudgeTooFew(run, host.timerLimit, step);
    }
}

} // namespace host
