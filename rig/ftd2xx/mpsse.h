/// The command interpreter of a channel in MPSSE mode.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "pins.h"

namespace rig::usb {

/// The commands for pins.
enum Opcode : std::uint8_t {
    kSetLowByte = 0x80, // value, direction
    kReadLowByte = 0x81,
    kSetHighByte = 0x82, // value, direction
    kReadHighByte = 0x83
};

/// The answer to an unknown command; its opcode follows.
inline constexpr std::uint8_t kBadCommand = 0xfa;

class Mpsse {
  public:
    explicit Mpsse(Pins& channelPins) : pins(channelPins) {}

    /// Executes a piece of the command stream and returns the answers. An incomplete command is
    /// kept until the rest of it comes.
    std::vector<std::uint8_t> Execute(std::span<const std::uint8_t> stream);

    /// Drops an incomplete command.
    void Restart() { command.clear(); }

  private:
    void ExecuteCommand(std::vector<std::uint8_t>& answers);

    Pins& pins;
    std::vector<std::uint8_t> command; ///< incomplete so far
};

} // namespace rig::usb
