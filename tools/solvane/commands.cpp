#include "commands.h"

#include <algorithm>
#include <array>

namespace host {

int Finish(const Report& report, const Session& session) {
    session.progress.Restart();
    report.Print(session.request.json);
    return report.Status();
}

void AddController(Report& report, const LibraryLog& log) {
    using Json = nlohmann::ordered_json;
    // The last kind stays when none answers, and may answer the next call.
    const auto kind = report.Status() == SOLVANE_OK ? log.LastTried() : log.Answered();
    report.Add("controller", kind ? Json(*kind) : Json(), "controller",
               std::string(kind.value_or("none")));
}

namespace {

/// For commands of whose success there is nothing more to tell.
int FinishDone(const Session& session, int status) {
    Report report(session.request.command, status);
    if (status == SOLVANE_OK) {
        report.Remark(session.request.command, "done");
    }
    return Finish(report, session);
}

/// A question of yes or no; `key` is both its key and its label.
int Ask(const Session& session, decltype(Library::CheckSystemReady) question,
        std::string_view key) {
    std::int16_t answer = 0;
    Report report(session.request.command, question(&answer));
    if (report.Status() == SOLVANE_OK) {
        report.Add(key, answer != 0, key, answer != 0 ? "yes" : "no");
    }
    return Finish(report, session);
}

/// A line that is switched on and off and read back.
struct Switch {
    decltype(Library::EnableCameraPower) enable;
    decltype(Library::DisableCameraPower) disable;
    decltype(Library::CheckCameraPower) check;
};

int Operate(const Session& session, const Switch& line) {
    const Request& request = session.request;
    std::int16_t on = request.setting == "on" ? 1 : 0;
    const int status = request.setting == "state" ? line.check(&on)
                       : on != 0                  ? line.enable()
                                                  : line.disable();
    Report report(request.command, status);
    if (status == SOLVANE_OK) {
        report.Add("on", on != 0, request.command, on != 0 ? "on" : "off");
    }
    return Finish(report, session);
}

int Dark(const Session& session) {
    const Library& library = session.library;
    return Operate(session, {library.EnableForcedBlackUpdate, library.DisableForcedBlackUpdate,
                             library.CheckForcedBlackUpdate});
}

int CameraPower(const Session& session) {
    const Library& library = session.library;
    return Operate(
        session, {library.EnableCameraPower, library.DisableCameraPower, library.CheckCameraPower});
}

int AccessoriesPower(const Session& session) {
    const Library& library = session.library;
    return Operate(session, {library.EnableAccessoriesPower, library.DisableAccessoriesPower,
                             library.CheckAccessoriesPower});
}

int Wake(const Session& session) {
    return FinishDone(session, session.library.WakeCamera());
}

int Ready(const Session& session) {
    return Ask(session, session.library.CheckSystemReady, "ready");
}

int Mep(const Session& session) {
    return Ask(session, session.library.CheckAndResetMepFlag, "flag");
}

int Recheck(const Session& session) {
    Report report(session.request.command, session.library.RecheckStatus());
    if (report.Status() == SOLVANE_OK) {
        AddController(report, session.log);
    }
    return Finish(report, session);
}

int EnforceFtdi(const Session& session) {
    session.library.EnforceFTDI();
    Report report(session.request.command, session.library.CheckAvailable());
    const bool available = report.Status() == SOLVANE_OK;
    report.Add("available", available, "available", available ? "yes" : "no");
    return Finish(report, session);
}

int Close(const Session& session) {
    return FinishDone(session, session.library.CloseDevice());
}

int ResetCom(const Session& session) {
    return FinishDone(session, session.library.ResetComPort());
}

using enum CommandArguments;

constexpr std::array kCommands{
    Command{"probe",
            "Tell which hardware answers and how its lines stand; the MEP flag is not read, "
            "because reading clears it",
            none, Probe},
    Command{"doctor", "Tell why each kind of hardware was found or not, and what to do", none,
            Doctor},
    Command{"watch", "Show the lines and every change of them, until Ctrl-C", watch, Watch},
    Command{"trigger", "Trigger captures; refused while the system is not ready", trigger, Trigger},
    Command{"wake", "Wake the camera by inverting the dark line for 10 ms", none, Wake},
    Command{"dark", "Force the picture black, or ask", onOffState, Dark},
    Command{"camera-power", "Switch camera power, or ask", onOffState, CameraPower},
    Command{"accessories-power", "Switch accessories power, or ask", onOffState, AccessoriesPower},
    Command{"ready", "Ask whether the system is ready for a trigger", none, Ready},
    Command{"mep", "Ask whether the MEP flag is latched, and clear it if it is", none, Mep},
    Command{"recheck", "Look for the hardware again, from the first kind", none, Recheck},
    Command{"enforce-ftdi", "Choose the FT2232H for this run, and tell whether it is there", none,
            EnforceFtdi},
    Command{"close", "Set the lines to rest as any first use does, then close the hardware", none,
            Close},
    Command{"reset-com", "Reset the serial channel beside the camera lines", none, ResetCom},
    Command{"timer",
            "Run a timer of the kernel driver, which performs a trigger of its own at each event, "
            "and print the events until Ctrl-C",
            timer, RunTimer},
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
