#include "host_guard.h"

#include <stdexcept>

namespace rig {

int RunGuarded(const std::vector<std::string>&) {
    throw std::runtime_error("a host is a Windows program; run solvane-rig.exe in Wine");
}

} // namespace rig
