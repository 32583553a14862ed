/// The sixteen pins of a channel in MPSSE mode.
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "installation.h"
#include "wiring.h"

namespace rig::usb {

class Pins {
  public:
    /// `wires` may be empty; it must outlive the pins.
    Pins(Installation& camera, std::span<const Wire> wires) : installation(camera), wiring(wires) {}

    /// Sets the levels of a bank, and which of its pins the chip drives (1 = output).
    void Set(Bank bank, std::uint8_t value, std::uint8_t direction);

    /// The levels that the pins of a bank have now.
    std::uint8_t Read(Bank bank) const;

    /// Makes every pin an input.
    void Release();

  private:
    struct Outputs {
        std::uint8_t value = 0;
        std::uint8_t direction = 0;
    };
    const Outputs& Of(Bank bank) const { return outputs[static_cast<std::size_t>(bank)]; }

    Installation& installation;
    std::span<const Wire> wiring;
    std::array<Outputs, kBanks> outputs;
};

} // namespace rig::usb
