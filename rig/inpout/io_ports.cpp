#include "io_ports.h"

namespace rig::io {

IoPorts::IoPorts(const Scenario& scenario, Installation& camera) {
    if (scenario.superIo) {
        superIo.emplace(*scenario.superIo, camera);
    }
    if (scenario.lpt) {
        lpt.emplace(*scenario.lpt, camera);
    }
}

std::uint8_t IoPorts::Read(std::uint16_t port) const {
    if (superIo && SuperIo::Has(port)) {
        return superIo->Read(port);
    }
    if (lpt && lpt->Has(port)) {
        return lpt->Read(port);
    }
    constexpr std::uint8_t kNobody = 0xFF;
    return kNobody;
}

void IoPorts::Write(std::uint16_t port, std::uint8_t value) {
    if (superIo && SuperIo::Has(port)) {
        superIo->Write(port, value);
    } else if (lpt && lpt->Has(port)) {
        lpt->Write(port, value);
    }
}

void IoPorts::SetAsleep(bool asleep) {
    if (superIo && asleep) {
        superIo->LosePower();
    }
    if (lpt && asleep) {
        lpt->LosePower();
    }
}

} // namespace rig::io
