/// The meaning of the library's statuses, for the user.
#pragma once

#include <string_view>

namespace host {

/// Used in place of a command for a timer event, whose status is the result of the driver's
/// trigger.
inline constexpr std::string_view kTimerEvent = "timer event";

/// The meaning of a status other than 0 from the given command of this program, to be printed after
/// a colon.
std::string_view Meaning(std::string_view command, int status);

} // namespace host
