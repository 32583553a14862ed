/// A mainboard's Super I/O chip: an index and a data port give access to its registers, one set per
/// logical device. Its GPIO bank is wired to the camera.
#pragma once

#include <cstdint>
#include <span>

#include "pin_group.h"
#include "scenario.h"

namespace rig::io {

/// How its GPIO bank is wired. A function: in a header, gcc for Windows puts this one array now
/// into .data and now into .rdata, and the linker does not see that it is the same.
std::span<const Wire> BankWires();

enum Register : std::uint8_t {
    kLogicalDevice = 0x07,
    kFirstId = 0x20,
    kSecondId = 0x21,
    kActiveBanks = 0x30,
    kDirections = 0xEC, ///< 1 = input
    kData = 0xED,
    kThird = 0xEE,
    kFourth = 0xEF
};

/// The register that the data port gives access to.
struct RegisterSelection {
    bool isConfiguring = false; ///< extended function mode: registers are accessible
    unsigned keys = 0;          ///< how many unlock keys in a row were written
    std::uint8_t index = 0;
    std::uint8_t logicalDevice = 0;

    void WriteIndex(std::uint8_t value);
    bool IsOfGpio() const;
};

class SuperIo {
  public:
    SuperIo(const SuperIoSetup& start, Installation& camera);

    static bool Has(std::uint16_t port) { return port == kIndexPort || port == kDataPort; }

    std::uint8_t Read(std::uint16_t port) const;
    void Write(std::uint16_t port, std::uint8_t value);

    /// Restores the state in which the firmware leaves the chip at every start.
    void LosePower();

    static constexpr std::uint16_t kIndexPort = 0x2E;
    static constexpr std::uint16_t kDataPort = 0x2F;

  private:
    std::uint8_t ReadRegister() const;
    void WriteRegister(std::uint8_t value);

    struct Registers : RegisterSelection {
        std::uint8_t directions = 0xFF; ///< 1 = input; all pins are inputs after power-on
        std::uint8_t latch = 0;         ///< the levels of pins that are outputs, or become outputs
        std::uint8_t third = 0;
        std::uint8_t fourth = 0;
    };

    const SuperIoSetup setup;
    PinGroup pins;
    Registers at;
};

} // namespace rig::io
