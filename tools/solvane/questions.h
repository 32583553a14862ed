/// The lines whose state can be read without changing anything.
#pragma once

#include <array>
#include <optional>

#include "functions.h"
#include "library_log.h"

namespace host {

using AskLine = decltype(Functions::CheckSystemReady);

/// The result of reading a line.
struct Answer {
    int status = SOLVANE_OK;
    std::optional<bool> value; ///< empty when the call failed or the line could not be read

    bool IsLost() const { return status == SOLVANE_OK && !value; }
    bool operator==(const Answer&) const = default;
};

inline constexpr const char* kLostAnswer = "could not be read";

/// Reads a line, and finds out from the log whether the answer is its level or only the safe
/// default.
Answer Ask(const AskLine& ask, LibraryLog& log);

/// A line whose state can be read.
struct Question {
    const char* key;
    const char* label;
    AskLine Functions::*ask;
    const char* yes;
    const char* no;
};

// Without the MEP flag, because reading it clears it.
inline constexpr std::array kQuestions{
    Question{"ready", "ready", &Functions::CheckSystemReady, "yes", "no"},
    Question{"dark", "dark", &Functions::CheckForcedBlackUpdate, "on", "off"},
    Question{"camera_power", "camera power", &Functions::CheckCameraPower, "on", "off"},
    Question{"accessories_power", "accessories power", &Functions::CheckAccessoriesPower, "on",
             "off"},
};

using Answers = std::array<Answer, kQuestions.size()>;

/// Reads all of kQuestions.
Answers AskAll(const Functions& library, LibraryLog& log);

/// The first status other than 0; 0 if there is none.
int StatusOf(const Answers& answers);

} // namespace host
