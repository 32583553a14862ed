#include "driver_service.h"

#include <stdexcept>

namespace rig {

namespace {

[[noreturn]] void Refuse() {
    throw std::runtime_error("the driver is a Windows driver; run solvane-rig.exe in Wine");
}

} // namespace

void InstallDriver(std::ostream&) {
    Refuse();
}

void RemoveDriver(std::ostream&) {
    Refuse();
}

void TellDriver(std::ostream&) {
    Refuse();
}

} // namespace rig
