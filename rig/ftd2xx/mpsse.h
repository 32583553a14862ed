/// The command interpreter of a channel in MPSSE mode.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "pins.h"

namespace rig::usb {

class Mpsse {
  public:
    explicit Mpsse(Pins& channelPins) : pins(channelPins) {}

    /// Executes a piece of the command stream and returns the answers. A command whose end is still
    /// missing waits for it.
    std::vector<std::uint8_t> Execute(std::span<const std::uint8_t> stream);

    /// Forgets the beginning of a command.
    void Restart() { command.clear(); }

  private:
    void ExecuteCommand(std::vector<std::uint8_t>& answers);

    Pins& pins;
    std::vector<std::uint8_t> command; ///< what has come of it so far
};

} // namespace rig::usb
