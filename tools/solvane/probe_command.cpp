#include <array>

#include "commands.h"
#include "questions.h"

namespace host {

namespace {

using Json = nlohmann::ordered_json;

/// Everything that was asked. Without hardware nothing more is: each question would look for the
/// hardware once more, only to answer the same.
struct Findings {
    explicit Findings(const Library& library)
        : status(library.CheckAvailable()), available(status == SOLVANE_OK),
          powerControl(available && library.CheckPowerControlAvailable() == SOLVANE_OK) {
        for (std::size_t i = 0; i < kQuestions.size() && available; ++i) {
            std::int16_t answer = 0;
            const int latest = (library.*kQuestions[i].ask)(&answer);
            if (latest == SOLVANE_OK) {
                answers[i] = answer != 0;
            } else if (status == SOLVANE_OK) {
                status = latest;
            }
        }
    }

    int status; ///< the first that was not 0; missing power control is no failure
    bool available;
    bool powerControl;
    std::array<std::optional<bool>, kQuestions.size()> answers;
};

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

int Probe(const Session& session) {
    const Findings findings(session.library);
    Report report(session.request.command, findings.status);
    AddSelection(report, session.log);
    AddYesNo(report, "available", "available", findings.available);
    AddYesNo(report, "power_control", "power control", findings.powerControl);
    for (std::size_t i = 0; i < kQuestions.size(); ++i) {
        const Question& question = kQuestions[i];
        const std::optional<bool>& answer = findings.answers[i];
        report.Add(question.key, answer ? Json(*answer) : Json(), question.label,
                   !answer   ? "unknown"
                   : *answer ? question.yes
                             : question.no);
    }
    return Finish(report, session);
}

} // namespace host
