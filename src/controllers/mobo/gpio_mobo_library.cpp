#include "gpio_mobo_library.h"

namespace SLV::Internal {

namespace {

constexpr std::uint16_t kIndexPort = 0x2E;
constexpr std::uint16_t kDataPort = 0x2F;

/// Keys of the index port.
constexpr std::uint16_t kEnterExtendedFunctionMode = 0x87; ///< twice in a row
constexpr std::uint16_t kLeaveExtendedFunctionMode = 0xAA;

constexpr std::uint16_t kFirstIdRegister = 0x20;
constexpr std::uint16_t kFirstId = 0xC4;
constexpr std::uint16_t kSecondIdRegister = 0x21;
constexpr std::uint16_t kSecondId = 0x52;

} // namespace

GpioMoboLibrary s_gpioMobo;

short GpioMoboLibrary::GpioMoboInit(WritePort newWritePort, ReadPort newReadPort) {
    if (portStatus != kNotInitialised) {
        return kWrongState;
    }
    writePort = newWritePort;
    readPort = newReadPort;
    portStatus = kReady;
    EnterExtendedFunctionMode();

    const struct {
        std::uint16_t index;
        std::uint16_t id;
        std::uint16_t otherwise;
    } marks[] = {{kFirstIdRegister, kFirstId, kWrongFirstId},
                 {kSecondIdRegister, kSecondId, kWrongSecondId}};
    for (const auto& mark : marks) {
        const std::uint16_t id = ReadRegister(mark.index);
        if (portStatus == kReady && id != mark.id) {
            portStatus = mark.otherwise;
        }
        if (portStatus != kReady) {
            break;
        }
    }
    return static_cast<short>(portStatus);
}

void GpioMoboLibrary::GpioMoboShutdown() {
    LeaveExtendedFunctionMode();
    writePort = WriteNothing;
    readPort = ReadNothing;
    portStatus = kNotInitialised;
}

void GpioMoboLibrary::EnterExtendedFunctionMode() const {
    writePort(kIndexPort, kEnterExtendedFunctionMode);
    writePort(kIndexPort, kEnterExtendedFunctionMode);
}

void GpioMoboLibrary::LeaveExtendedFunctionMode() const {
    writePort(kIndexPort, kLeaveExtendedFunctionMode);
}

std::uint16_t GpioMoboLibrary::ReadRegister(std::uint16_t index) const {
    writePort(kIndexPort, index);
    return readPort(kDataPort);
}

void GpioMoboLibrary::PutRegister(std::uint16_t index, std::uint8_t value) const {
    writePort(kIndexPort, index);
    writePort(kDataPort, value);
}

bool GpioMoboLibrary::WriteRegister(ChipRegister& chipRegister, std::uint8_t value) const {
    PutRegister(chipRegister.index, value);
    if (portStatus != kReady) {
        return false;
    }
    const std::uint16_t readBack = ReadRegister(chipRegister.index);
    if (!IsGood(readBack)) {
        return false;
    }
    chipRegister.value = readBack;
    return true;
}

} // namespace SLV::Internal
