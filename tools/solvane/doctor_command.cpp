#include "commands.h"
#include "diagnosis.h"

namespace host {

namespace {

using Json = nlohmann::ordered_json;

Json ToJson(const Diagnosis& diagnosis) {
    return {{"kind", diagnosis.kind},
            {"asked", diagnosis.asked},
            {"status", diagnosis.asked ? Json(diagnosis.status) : Json()},
            {"found", diagnosis.found},
            {"advice", diagnosis.advice.empty() ? Json() : Json(diagnosis.advice)}};
}

} // namespace

int Doctor(const Session& session) {
    const int status = session.library.CheckAvailable();
    Report report(session.request.command, status);
    AddController(report, session.log);
    Json list = Json::array();
    for (const Diagnosis& diagnosis : Diagnose(session.log)) {
        list.push_back(ToJson(diagnosis));
        report.Remark(diagnosis.kind, diagnosis.found);
        // While something serves, what else is not there is nobody's concern.
        if (status != SOLVANE_OK && !diagnosis.advice.empty()) {
            report.Remark("", diagnosis.advice);
        }
    }
    report.Add("kinds", list);
    if (status == SOLVANE_OK && session.library.CheckPowerControlAvailable() != SOLVANE_OK) {
        report.Remark("",
                      "The power interface is not wired (pin 16 to pin 13): the power lines are "
                      "driven, but nothing may hang on them.");
    }
    return Finish(report, session);
}

} // namespace host
