/// What the library's statuses mean to a user.
#pragma once

#include <string_view>

namespace host {

/// The meaning of a status other than 0 after the given command of this program; it goes on after
/// a colon.
std::string_view Meaning(std::string_view command, int status);

} // namespace host
