#include "this_program.h"

#include <system_error>

namespace rig {

bool RunsInWine() {
    return false;
}

std::filesystem::path PathBesideThisProgram(const char* file) {
    std::error_code ignored;
    return std::filesystem::read_symlink("/proc/self/exe", ignored).parent_path() / file;
}

} // namespace rig
