/// The camera lines on channel B of an FT2232H: two groups of eight pins, read and written with
/// MPSSE commands through the one handle of the process.
#pragma once

#include <cstdint>
#include <functional>

#include "d2xx.h"
#include "logger.h"

namespace SLV::Internal {

/// One group of eight pins.
struct BitPort {
    std::uint8_t direction;        ///< sent with every write, 1 = output
    std::uint8_t setOpcode;        ///< MPSSE command that sets this byte
    std::uint8_t readOpcode;       ///< MPSSE command that reads this byte
    std::uint8_t value;            ///< last byte read, or the output byte about to be written
    std::function<bool()> restore; ///< brings the chip back after a fault; set by Configure
    Logger* logger;                ///< set by the controller's constructor; may be null
};

/// Bits of the high byte (BCBUS). Outputs are those of the direction mask.
namespace high {
inline constexpr std::uint8_t kTrigger = 0x01;
inline constexpr std::uint8_t kDark = 0x02;
inline constexpr std::uint8_t kCameraPowerOff = 0x04;
inline constexpr std::uint8_t kAccessoriesPowerOff = 0x08;
inline constexpr std::uint8_t kReady = 0x10;
inline constexpr std::uint8_t kNoMepFlag = 0x20;    ///< latched flag, active low
inline constexpr std::uint8_t kClearMepRest = 0x40; ///< idles at 1, a pulse to 0 clears the latch
inline constexpr std::uint8_t kOutputs =
    kTrigger | kDark | kCameraPowerOff | kAccessoriesPowerOff | kClearMepRest;
} // namespace high

/// Bits of the low byte (BDBUS), all inputs: the read-back of three outputs.
namespace low {
inline constexpr std::uint8_t kAccessoriesPowerOff = 0x20;
inline constexpr std::uint8_t kCameraPowerOff = 0x40;
inline constexpr std::uint8_t kDark = 0x80;
} // namespace low

/// Channel B of the chip, null when closed. Process-wide like both ports, as the chip is: line
/// levels outlive the controller objects.
extern FT_HANDLE s_ft_handle;
extern BitPort s_highPort;
extern BitPort s_lowPort;

/// Reads the pins of a port into its value. A D2XX status; FT_OTHER_ERROR when the chip does not
/// answer with exactly one byte within 100 polls of 2 ms.
FT_STATUS ReadBits(BitPort& port);

/// Writes the high port's value to its pins. A D2XX status; FT_OTHER_ERROR after a short write.
FT_STATUS WriteBits();

/// 1 if all bits of the mask are 1 in a freshly read byte, 0 if not, -1 if it cannot be read even
/// after one recovery of the chip.
int GetBitsValue(BitPort& port, std::uint8_t mask);

/// Sets bits of the high port, after one recovery of the chip if need be. True on success.
bool SetPin(std::uint8_t mask);

/// Clears bits of the high port, without recovery. True on success.
bool ClearPin(std::uint8_t mask);

/// Inverts the dark line, given its present state from GetBitsValue(). True on success.
bool TogglePin(int state);

/// The pins as text, one token for each bit: upper case where the bit is 1.
LogText DescribeLowByte(std::uint8_t value);
LogText DescribeHighByte(std::uint8_t value);

} // namespace SLV::Internal
