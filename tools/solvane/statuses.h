/// What the library's statuses mean to a user.
#pragma once

#include <string_view>

namespace host {

/// In place of a command: an event of a timer, whose status tells how the driver's trigger went.
inline constexpr std::string_view kTimerEvent = "timer event";

/// The meaning of a status other than 0 after the given command of this program; it goes on after
/// a colon.
std::string_view Meaning(std::string_view command, int status);

} // namespace host
