#include "commands.h"

namespace host {

namespace {

using Json = nlohmann::ordered_json;

std::string Outcome(const Candidate& candidate) {
    if (!candidate.status) {
        return "did not finish";
    }
    return *candidate.status == SOLVANE_OK
               ? "answered"
               : "not available (status " + std::to_string(*candidate.status) + ")";
}

void AddSelection(Report& report, const LibraryLog& log) {
    Json list = Json::array();
    for (const Candidate& candidate : log.Candidates()) {
        const std::size_t number = list.size() + 1;
        list.push_back({{"number", number},
                        {"kind", candidate.kind},
                        {"status", candidate.status ? Json(*candidate.status) : Json()}});
        report.Remark("candidate " + std::to_string(number),
                      std::string(candidate.kind) + ", " + Outcome(candidate));
    }
    report.Add("candidates", list);
    AddController(report, log);
}

void AddYesNo(Report& report, const char* key, const char* label, bool yes) {
    report.Add(key, yes, label, yes ? "yes" : "no");
}

} // namespace

ExitCode Probe(const Session& session) {
    const Library& library = session.library;
    const int availability = library.CheckAvailable();
    const bool isAvailable = availability == SOLVANE_OK;
    const bool hasPowerControl = isAvailable && library.CheckPowerControlAvailable() == SOLVANE_OK;
    // Without hardware no line is read: every call would search for the hardware again, with the
    // same result.
    Answers answers;
    answers.fill({availability, {}});
    if (isAvailable) {
        answers = AskAll(library, session.log);
    }

    Report report(session.request.command, StatusOf(answers));
    AddRig(report);
    AddSelection(report, session.log);
    AddYesNo(report, "available", "available", isAvailable);
    AddYesNo(report, "power_control", "power control", hasPowerControl);
    for (std::size_t i = 0; i < kQuestions.size(); ++i) {
        const Question& question = kQuestions[i];
        report.AddAnswer(question.key, question.label, answers[i], question.yes, question.no);
    }
    return Finish(std::move(report), session);
}

} // namespace host
