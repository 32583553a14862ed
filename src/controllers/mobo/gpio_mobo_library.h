/// The mainboard's Super I/O chip behind its index and data ports, and whether it may be touched.
#pragma once

#include <cstdint>

namespace SLV::Internal {

/// One register of the chip, with the value that was last read from it.
struct ChipRegister {
    std::uint16_t index = 0;
    std::uint16_t value = 0;
};

/// Process-wide, as the chip is, and not thread-safe. The two functions that reach ports are
/// installed only while a controller uses the chip, so that nothing touches a port afterwards.
struct GpioMoboLibrary {
    using WritePort = void (*)(std::uint16_t port, std::uint16_t value);
    using ReadPort = std::uint16_t (*)(std::uint16_t port);

    static constexpr std::uint16_t kReady = 0;
    static constexpr std::uint16_t kNotInitialised = 0xFFFE;
    static constexpr std::uint16_t kWrongFirstId = 0xFFFC;
    static constexpr std::uint16_t kWrongSecondId = 0xFFFB;

    /// From GpioMoboInit() when the chip was not shut down before.
    static constexpr short kWrongState = -3;

    std::uint16_t portStatus = kNotInitialised; ///< kReady, or why the chip must not be used
    WritePort writePort = WriteNothing;
    ReadPort readPort = ReadNothing;

    /// Installs the functions and identifies the chip. Returns 0, kWrongState, or the portStatus
    /// for the identification byte that does not match (-4, -5).
    short GpioMoboInit(WritePort newWritePort, ReadPort newReadPort);

    /// Leaves the chip's configuration mode and removes the functions.
    void GpioMoboShutdown();

    /// The chip answers at its registers only after this.
    void EnterExtendedFunctionMode() const;
    void LeaveExtendedFunctionMode() const;

    std::uint16_t ReadRegister(std::uint16_t index) const;

    /// Writes a register and reads it back into its value. False when an access failed.
    bool WriteRegister(ChipRegister& chipRegister, std::uint8_t value) const;

    /// Writes a register without reading it back.
    void PutRegister(std::uint16_t index, std::uint8_t value) const;

    /// Whether the access that gave the value succeeded: registers have eight bits.
    bool IsGood(std::uint16_t value) const { return portStatus == kReady && value <= 0xFF; }

  private:
    static void WriteNothing(std::uint16_t, std::uint16_t) {}
    static std::uint16_t ReadNothing(std::uint16_t) { return 0; }
};

extern GpioMoboLibrary s_gpioMobo;

} // namespace SLV::Internal
