#include "super_io.h"

namespace rig::io {

namespace {

enum Register : std::uint8_t {
    kLogicalDevice = 0x07,
    kFirstId = 0x20,
    kSecondId = 0x21,
    kActiveBanks = 0x30,
    kDirections = 0xEC,
    kData = 0xED,
    kThird = 0xEE,
    kFourth = 0xEF
};

constexpr std::uint8_t kOpeningKey = 0x87;
constexpr unsigned kOpeningKeys = 2;
constexpr std::uint8_t kClosingKey = 0xAA;
constexpr std::uint8_t kGpioDevice = 7;
constexpr std::uint8_t kNothing = 0xFF; ///< what an address reads at which nobody answers

} // namespace

SuperIo::SuperIo(const SuperIoSetup& start, Installation& camera)
    : setup(start), pins(camera, kBankWires, 0),
      latch(start.data.value_or(static_cast<std::uint8_t>(pins.LineLevels()))) {}

std::uint8_t SuperIo::Read(std::uint16_t port) const {
    if (!isConfiguring) {
        return kNothing;
    }
    return port == kIndexPort ? index : ReadRegister();
}

void SuperIo::Write(std::uint16_t port, std::uint8_t value) {
    if (port == kIndexPort) {
        WriteIndex(value);
        return;
    }
    keys = 0;
    if (isConfiguring) {
        WriteRegister(value);
    }
}

void SuperIo::WriteIndex(std::uint8_t value) {
    if (!isConfiguring) {
        keys = value == kOpeningKey ? keys + 1 : 0;
        isConfiguring = keys == kOpeningKeys;
    } else if (value == kClosingKey) {
        isConfiguring = false;
        keys = 0;
    } else {
        index = value;
    }
}

std::uint8_t SuperIo::ReadRegister() const {
    switch (index) {
    case kLogicalDevice:
        return logicalDevice;
    case kFirstId:
        return static_cast<std::uint8_t>(setup.id >> 8);
    case kSecondId:
        return static_cast<std::uint8_t>(setup.id & 0xFF);
    default:
        break;
    }
    if (!IsGpioSelected()) {
        return kNothing;
    }
    switch (index) {
    case kActiveBanks:
        return setup.activeBanks;
    case kDirections:
        return directions;
    case kData:
        return static_cast<std::uint8_t>(pins.Read());
    case kThird:
        return third;
    case kFourth:
        return fourth;
    default:
        return kNothing;
    }
}

void SuperIo::WriteRegister(std::uint8_t value) {
    if (index == kLogicalDevice) {
        logicalDevice = value;
    }
    if (!IsGpioSelected()) {
        return;
    }
    switch (index) {
    case kDirections:
        directions = value;
        break;
    case kData:
        latch = value;
        break;
    case kThird:
        third = value;
        break;
    case kFourth:
        fourth = value;
        break;
    default:
        return;
    }
    pins.Set(latch, static_cast<std::uint8_t>(~directions));
}

bool SuperIo::IsGpioSelected() const {
    return logicalDevice == kGpioDevice;
}

} // namespace rig::io
