/// The board vendor's library as a front of the rig.
#pragma once

#include <optional>

#include "front.h"
#include "gpio_board.h"

namespace rig::eapi {

class EapiFront final : public Front {
  public:
    std::vector<std::string_view> Functions() const override;
    void Build(const Scenario& scenario, const Surroundings& surroundings) override;

    std::optional<GpioBoard> board;
    bool isInitialised = false;
};

extern EapiFront front;

} // namespace rig::eapi
