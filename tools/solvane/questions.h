/// The lines that can be asked for their state without changing anything.
#pragma once

#include <array>
#include <optional>

#include "functions.h"
#include "library_log.h"

namespace host {

using AskLine = decltype(Functions::CheckSystemReady);

/// What became of a question.
struct Answer {
    int status = SOLVANE_OK;
    std::optional<bool> value; ///< empty when it was refused, or the line could not be read

    bool IsLost() const { return status == SOLVANE_OK && !value; }
    bool operator==(const Answer&) const = default;
};

inline constexpr const char* kLostAnswer = "could not be read";

/// Asks, and finds out from the log whether the answer was read or is only what does least harm.
Answer Ask(const AskLine& ask, LibraryLog& log);

/// A line that is asked for its state.
struct Question {
    const char* key;
    const char* label;
    AskLine Functions::*ask;
    const char* yes;
    const char* no;
};

// The MEP flag is not among them: asking for it clears it.
inline constexpr std::array kQuestions{
    Question{"ready", "ready", &Functions::CheckSystemReady, "yes", "no"},
    Question{"dark", "dark", &Functions::CheckForcedBlackUpdate, "on", "off"},
    Question{"camera_power", "camera power", &Functions::CheckCameraPower, "on", "off"},
    Question{"accessories_power", "accessories power", &Functions::CheckAccessoriesPower, "on",
             "off"},
};

using Answers = std::array<Answer, kQuestions.size()>;

/// Asks each of them.
Answers AskAll(const Functions& library, LibraryLog& log);

/// The first status that is not 0.
int StatusOf(const Answers& answers);

} // namespace host
