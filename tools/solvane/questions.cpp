#include "questions.h"

namespace host {

Answer Ask(const AskLine& ask, LibraryLog& log) {
    log.ForgetLostRead();
    std::int16_t on = 0;
    Answer answer{ask(&on), {}};
    if (answer.status == SOLVANE_OK && log.LostRead().empty()) {
        answer.value = on != 0;
    }
    return answer;
}

Answers AskAll(const Functions& library, LibraryLog& log) {
    Answers answers;
    for (std::size_t i = 0; i < kQuestions.size(); ++i) {
        answers[i] = Ask(library.*kQuestions[i].ask, log);
    }
    return answers;
}

int StatusOf(const Answers& answers) {
    for (const Answer& answer : answers) {
        if (answer.status != SOLVANE_OK) {
            return answer.status;
        }
    }
    return SOLVANE_OK;
}

} // namespace host
