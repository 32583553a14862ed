/// The D2XX driver as a front of the rig.
#pragma once

#include <optional>

#include "front.h"
#include "usb_bus.h"

namespace rig::usb {

class Ftd2xxFront final : public Front {
  public:
    std::vector<std::string_view> Functions() const override;
    void Build(const Scenario& scenario, const Surroundings& surroundings) override;
    bool SetPlugged(unsigned chip, bool plugged) override;

    std::optional<UsbBus> bus;
};

extern Ftd2xxFront front;

} // namespace rig::usb
