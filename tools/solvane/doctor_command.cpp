#include <iostream>

#include "commands.h"
#include "diagnosis.h"

namespace host {

namespace {

using Json = nlohmann::ordered_json;

Json TextOrNull(const std::string& text) {
    return text.empty() ? Json() : Json(text);
}

Json ToJson(const Diagnosis& diagnosis) {
    return {{"kind", diagnosis.kind},
            {"asked", diagnosis.asked},
            {"status", diagnosis.asked ? Json(diagnosis.status) : Json()},
            {"tried", TextOrNull(diagnosis.tried)},
            {"found", diagnosis.found},
            {"advice", TextOrNull(diagnosis.advice)},
            {"page", TextOrNull(diagnosis.advice.empty() ? "" : diagnosis.page)}};
}

/// The first line that cannot be read; empty if all can. Hardware that was configured successfully
/// may still fail to read its lines.
std::string FindUnreadLine(const Session& session) {
    for (const Question& question : kQuestions) {
        if (!Ask(session.library.*question.ask, session.log).value) {
            return question.label;
        }
    }
    return "";
}

void AddKind(Report& report, const Diagnosis& diagnosis, bool isConcern) {
    report.Remark(diagnosis.kind, diagnosis.found);
    if (isConcern && !diagnosis.tried.empty()) {
        report.Remark("", "Tried: " + diagnosis.tried + ".");
    }
    if (isConcern && !diagnosis.advice.empty()) {
        report.Remark("", diagnosis.advice);
        report.Remark("", "More: " + diagnosis.page);
    }
}

/// A missing timer driver is reported but is no fault: timers work without the camera's lines, and
/// not every host uses them.
void AddTimerDriver(Report& report) {
    const DriverState state = FindDriver(kTimerService);
    const std::string advice = AdviceOnTimerDriver(state);
    report.Add("timer_driver", {{"state", Describe(state)}, {"advice", TextOrNull(advice)}},
               "timer driver", std::string("SolvaneDevice ") + Describe(state) + ".");
    if (!advice.empty()) {
        report.Remark("", advice);
    }
}

} // namespace

ExitCode Doctor(const Session& session) {
    const int status = session.library.CheckAvailable();
    Facts facts;
    if (status == SOLVANE_OK) {
        facts.serving = session.log.LastTried();
        facts.unreadLine = FindUnreadLine(session);
    }
    facts.port = FirstOf(ListParallelPorts());
    facts.inpout = FindDriver(kInpoutService);
    facts.memoryIntegrity = FindMemoryIntegrity();

    Report report(session.request.command, status);
    AddRig(report);
    AddController(report, session.log);
    Json list = Json::array();
    for (const Diagnosis& diagnosis : Diagnose(session.log, facts)) {
        list.push_back(ToJson(diagnosis));
        // While one kind serves, it does not matter why the others were not found.
        AddKind(report, diagnosis, status != SOLVANE_OK || diagnosis.serves);
        if (diagnosis.isIll) {
            report.Fail();
        }
    }
    report.Add("kinds", list);
    AddTimerDriver(report);
    session.progress.Restart();
    report.PrintValues(session.request.json);
    if (status != SOLVANE_OK && !session.request.json) {
        std::cerr << "solvane: no hardware serves the camera: the library's status is " << status
                  << "." << std::endl;
    }
    return report.Code();
}

} // namespace host
