/// The port-I/O driver as a front of the rig.
#pragma once

#include <optional>

#include "front.h"
#include "io_ports.h"

namespace rig::io {

class InpoutFront final : public Front {
  public:
    std::vector<std::string_view> Functions() const override;
    void Build(const Scenario& scenario, const Surroundings& surroundings) override;

    std::optional<IoPorts> ports;
    bool isDriverOpen = false;
};

extern InpoutFront front;

} // namespace rig::io
