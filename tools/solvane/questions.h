/// The lines that can be asked for their state without changing anything.
#pragma once

#include <array>

#include "library.h"

namespace host {

/// A line that is asked for its state.
struct Question {
    const char* key;
    const char* label;
    decltype(Library::CheckSystemReady) Library::*ask;
    const char* yes;
    const char* no;
};

// The MEP flag is not among them: asking for it clears it.
inline constexpr std::array kQuestions{
    Question{"ready", "ready", &Library::CheckSystemReady, "yes", "no"},
    Question{"dark", "dark", &Library::CheckForcedBlackUpdate, "on", "off"},
    Question{"camera_power", "camera power", &Library::CheckCameraPower, "on", "off"},
    Question{"accessories_power", "accessories power", &Library::CheckAccessoriesPower, "on",
             "off"},
};

} // namespace host
