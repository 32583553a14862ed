/// The camera lines on a parallel port: its three registers and their bits, with the pins of the
/// connector (IEEE 1284, compatibility mode) that they are on.
#pragma once

#include <cstdint>

namespace SLV::Internal {

/// I/O base address of the port; 0 until it was found. Process-wide, as the port is.
extern std::uint16_t s_lptBaseAddress;

namespace lpt {

/// Offsets from the base address.
enum class Register : std::uint16_t { Data, Status, Control };

/// A bit of a register. Bits are as the port shows them to a program, whatever it inverts on the
/// wire.
struct Bit {
    Register where;
    std::uint8_t mask;
    std::uint8_t pin;
};

inline constexpr Bit kDark{Register::Data, 0x01, 2};
inline constexpr Bit kTrigger{Register::Data, 0x02, 3};
inline constexpr Bit kAccessoriesPowerOff{Register::Data, 0x20, 7};
inline constexpr Bit kCameraPowerOff{Register::Data, 0x40, 8};

inline constexpr Bit kPowerLoopback{Register::Status, 0x10, 13}; ///< follows kPowerProbe
inline constexpr Bit kReady{Register::Status, 0x20, 12};
inline constexpr Bit kNoMepFlag{Register::Status, 0x40, 10};        ///< latched flag, active low
inline constexpr Bit kPresenceLoopback{Register::Status, 0x80, 11}; ///< follows kPresenceProbe

inline constexpr Bit kClearMep{Register::Control, 0x01, 1}; ///< a pulse to 1 clears the latch
inline constexpr Bit kPowerProbe{Register::Control, 0x04, 16};
inline constexpr Bit kPresenceProbe{Register::Control, 0x08, 17};

std::uint8_t Read(Register from);
void Write(Register to, std::uint8_t value);

bool IsSet(Bit bit);

// One read and one write; the register's other bits keep their levels.
void Set(Bit bit);
void Clear(Bit bit);

/// Raises an output for some time, then lowers it: one read, two writes.
void Pulse(Bit output, unsigned milliseconds);

/// Inverts an output for some time, then restores the register: one read, two writes.
void PulseAgainst(Bit output, unsigned milliseconds);

/// Whether an input follows the output that is wired to it. Restores the register.
bool ProbeLoopback(Bit output, Bit input);

} // namespace lpt
} // namespace SLV::Internal
