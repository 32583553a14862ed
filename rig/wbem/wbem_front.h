/// WMI's parallel ports as a front of the rig.
#pragma once

#include <string_view>
#include <vector>

#include "front.h"

namespace rig::wbem {

class WbemFront final : public Front {
  public:
    std::vector<std::string_view> Functions() const override;
    void Build(const Scenario& scenario, const Surroundings& surroundings) override;

    WmiSetup setup;
};

extern WbemFront front;

} // namespace rig::wbem
