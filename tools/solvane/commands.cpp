#include "commands.h"

#include <algorithm>
#include <array>

#include "virtual_rig.h"

namespace host {

ExitCode Finish(Report report, const Session& session) {
    if (report.Status() == SOLVANE_E_NO_HARDWARE) {
        report.Advise("solvane doctor tells why.");
    }
    session.progress.Restart();
    report.Print(session.request.json);
    return report.Code();
}

void AddRig(Report& report) {
    const std::optional<std::string> rig = DescribeVirtualRig();
    report.Head(rig.value_or(""));
    report.Add("rig", rig ? nlohmann::ordered_json(*rig) : nlohmann::ordered_json());
}

void AddController(Report& report, const LibraryLog& log) {
    using Json = nlohmann::ordered_json;
    // When no kind answers, the library keeps the last one it tried, which may answer later.
    const auto kind = report.Status() == SOLVANE_OK ? log.LastTried() : log.Answered();
    report.Add("controller", kind ? Json(*kind) : Json(), "controller",
               std::string(kind.value_or("none")));
}

namespace {

/// For commands whose success needs no further output.
ExitCode FinishDone(const Session& session, int status) {
    Report report(session.request.command, status);
    if (status == SOLVANE_OK) {
        report.Remark(session.request.command, "done");
    }
    return Finish(report, session);
}

/// Asks for the state of a line and prints it; `key` is both its key and its label.
ExitCode PrintState(const Session& session, const AskLine& ask, std::string_view key) {
    const Answer answer = Ask(ask, session.log);
    Report report(session.request.command, answer.status);
    if (answer.status == SOLVANE_OK) {
        report.AddAnswer(key, key, answer, "yes", "no");
    }
    return Finish(report, session);
}

/// A line that is switched on and off and read back.
struct Switch {
    decltype(Library::EnableCameraPower) enable;
    decltype(Library::DisableCameraPower) disable;
    AskLine ask;
};

ExitCode Operate(const Session& session, const Switch& line) {
    const Request& request = session.request;
    const bool on = request.setting == "on";
    const Answer answer = request.setting == "state" ? Ask(line.ask, session.log)
                          : on                       ? Answer{line.enable(), true}
                                                     : Answer{line.disable(), false};
    Report report(request.command, answer.status);
    if (answer.status == SOLVANE_OK) {
        report.AddAnswer("on", request.command, answer, "on", "off");
    }
    return Finish(report, session);
}

ExitCode Dark(const Session& session) {
    const Library& library = session.library;
    return Operate(session, {library.EnableForcedBlackUpdate, library.DisableForcedBlackUpdate,
                             library.CheckForcedBlackUpdate});
}

ExitCode CameraPower(const Session& session) {
    const Library& library = session.library;
    return Operate(
        session, {library.EnableCameraPower, library.DisableCameraPower, library.CheckCameraPower});
}

ExitCode AccessoriesPower(const Session& session) {
    const Library& library = session.library;
    return Operate(session, {library.EnableAccessoriesPower, library.DisableAccessoriesPower,
                             library.CheckAccessoriesPower});
}

ExitCode Wake(const Session& session) {
    return FinishDone(session, session.library.WakeCamera());
}

ExitCode Ready(const Session& session) {
    return PrintState(session, session.library.CheckSystemReady, "ready");
}

ExitCode Mep(const Session& session) {
    return PrintState(session, session.library.CheckAndResetMepFlag, "flag");
}

ExitCode Recheck(const Session& session) {
    Report report(session.request.command, session.library.RecheckStatus());
    if (report.Status() == SOLVANE_OK) {
        AddController(report, session.log);
    }
    return Finish(report, session);
}

ExitCode EnforceFtdi(const Session& session) {
    session.library.EnforceFTDI();
    Report report(session.request.command, session.library.CheckAvailable());
    const bool available = report.Status() == SOLVANE_OK;
    report.Add("available", available, "available", available ? "yes" : "no");
    return Finish(report, session);
}

ExitCode Close(const Session& session) {
    return FinishDone(session, session.library.CloseDevice());
}

ExitCode ResetCom(const Session& session) {
    return FinishDone(session, session.library.ResetComPort());
}

using enum CommandArguments;

// What a second Ctrl-C prints. The first use of the library finds and configures the hardware.
constexpr const char* kAtConfiguration =
    "Trigger and clear-MEP may not be at rest yet: any next command sets them to rest.";
constexpr const char* kAtTrigger =
    "The trigger line may be high, and clear-MEP not at rest: any next command lowers the trigger "
    "and, but for the Embedded API, sets clear-MEP to rest.";
constexpr const char* kAtMep =
    "Clear-MEP may not be at rest: any next command sets it to rest, but for the Embedded API.";
constexpr const char* kAtWake = "Dark may be inverted: solvane dark tells and switches it.";
constexpr const char* kAtSwitch = "The line may have been switched or not: ask for its state.";
constexpr const char* kAtCheck =
    "Dark may be on, or a power off: solvane dark, solvane camera-power and solvane "
    "accessories-power tell and switch them. The trigger may be high until the next command.";
constexpr const char* kAtReset = "The serial channel may have been reset or not.";
constexpr const char* kAtTimer =
    "The driver ends its timer by itself, and may be giving a trigger at this moment.";

constexpr std::array kCommands{
    Command{"probe",
            "Tell which hardware answers and how its lines stand; the MEP flag is not read, "
            "because reading clears it",
            none, Probe, kAtConfiguration},
    Command{"doctor", "Tell why each kind of hardware was found or not, and what to do", none,
            Doctor, kAtConfiguration},
    Command{"check",
            "Prove the installation step by step, and name what is wrong; asks before it does "
            "something to the lines",
            check, CheckInstallation, kAtCheck},
    Command{"watch", "Show the lines and every change of them, until Ctrl-C", watch, Watch,
            kAtConfiguration},
    Command{"trigger", "Trigger captures; refused while the system is not ready", trigger, Trigger,
            kAtTrigger},
    Command{"wake", "Wake the camera by inverting the dark line for 10 ms", none, Wake, kAtWake},
    Command{"dark", "Force the picture black, or ask", onOffState, Dark, kAtSwitch},
    Command{"camera-power", "Switch camera power, or ask", onOffState, CameraPower, kAtSwitch},
    Command{"accessories-power", "Switch accessories power, or ask", onOffState, AccessoriesPower,
            kAtSwitch},
    Command{"hold", "Hold dark on, or a power off, for a meter; then put the line back", hold, Hold,
            kAtSwitch},
    Command{"ready", "Ask whether the system is ready for a trigger", none, Ready,
            kAtConfiguration},
    Command{"mep", "Ask whether the MEP flag is latched, and clear it if it is", none, Mep, kAtMep},
    Command{"recheck", "Look for the hardware again, from the first kind", none, Recheck,
            kAtConfiguration},
    Command{"enforce-ftdi", "Choose the FT2232H for this run, and tell whether it is there", none,
            EnforceFtdi, kAtConfiguration},
    Command{"close", "Set the lines to rest as any first use does, then close the hardware", none,
            Close, kAtConfiguration},
    Command{"reset-com", "Reset the serial channel beside the camera lines", none, ResetCom,
            kAtReset},
    Command{"timer",
            "Run a timer of the kernel driver, which performs a trigger of its own at each event, "
            "and print the events until Ctrl-C",
            timer, RunTimer, kAtTimer},
};

} // namespace

std::span<const Command> Commands() {
    return kCommands;
}

const Command& FindCommand(const std::string& name) {
    return *std::find_if(kCommands.begin(), kCommands.end(),
                         [&](const Command& command) { return command.name == name; });
}

} // namespace host
