/// The commands for the rig of this process.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "remote_rig.h"

namespace rig {

/// Whether nobody wants to know any more what a command waits for.
using IsUnwanted = std::function<bool()>;

/// The names of all commands.
std::vector<std::string> CommandNames();

/// Splits a line as a shell does: a quoted part may contain blanks and quotes of the other kind.
Texts SplitLine(std::string_view line);

/// Carries out a command such as {"fault", "FT_Write", "status=4"}. A command that waits blocks
/// until its condition holds, its time is over or it `isUnwanted`. Any thread may call this.
/// `scenario` takes a file's name and its text; `keep` returns the text of the scenario file.
Reply Perform(
    const std::vector<std::string>& words, bool json,
    const IsUnwanted& isUnwanted = [] { return false; });

} // namespace rig
