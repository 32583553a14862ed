#include "wmi_class.h"

#include <stdexcept>

namespace rig {

namespace {

[[noreturn]] void Refuse() {
    throw std::runtime_error("the WMI class is a Windows class; run solvane-rig.exe in Wine");
}

} // namespace

void InstallWmiClass(std::ostream&) {
    Refuse();
}

void RemoveWmiClass(std::ostream&) {
    Refuse();
}

void TellWmiClass(std::ostream&) {
    Refuse();
}

} // namespace rig
