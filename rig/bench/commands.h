/// What can be asked of the rig of this process and done to it, in words.
#pragma once

#include <cstdint>
#include <stop_token>
#include <string>
#include <vector>

#include "elsewhere.h"

namespace rig {

/// What words begin with that are commands.
std::vector<std::string> CommandNames();

/// Does what the words say: {"fault", "FT_Write", "status=4"}. The commands that wait block until
/// it came to pass, their time is over or somebody wants them to stop. Any thread may call it.
/// `scenario` takes a file's name and then its text, `keep` answers the text for a file.
Reply Perform(const std::vector<std::string>& words, bool json, const std::stop_token& stop = {});

} // namespace rig
