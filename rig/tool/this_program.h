/// Where this program runs, and what lies beside it.
#pragma once

#include <filesystem>

namespace rig {

bool RunsInWine();

/// Where a file is, or would be, that lies in the directory of this program.
std::filesystem::path PathBesideThisProgram(const char* file);

} // namespace rig
