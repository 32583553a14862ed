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
constexpr std::uint8_t kNothing = 0xFF; ///< what a read returns where no device answers

} // namespace

SuperIo::SuperIo(const SuperIoSetup& start, Installation& camera)
    : setup(start), pins(camera, kBankWires, 0) {
    LosePower();
}

void SuperIo::LosePower() {
    pins.Release();
    at = {};
    at.latch = setup.data.value_or(static_cast<std::uint8_t>(pins.LineLevels()));
}

std::uint8_t SuperIo::Read(std::uint16_t port) const {
    if (!at.isConfiguring) {
        return kNothing;
    }
    return port == kIndexPort ? at.index : ReadRegister();
}

void SuperIo::Write(std::uint16_t port, std::uint8_t value) {
    if (port == kIndexPort) {
        WriteIndex(value);
        return;
    }
    at.keys = 0;
    if (at.isConfiguring) {
        WriteRegister(value);
    }
}

void SuperIo::WriteIndex(std::uint8_t value) {
    if (!at.isConfiguring) {
        at.keys = value == kOpeningKey ? at.keys + 1 : 0;
        at.isConfiguring = at.keys == kOpeningKeys;
    } else if (value == kClosingKey) {
        at.isConfiguring = false;
        at.keys = 0;
    } else {
        at.index = value;
    }
}

std::uint8_t SuperIo::ReadRegister() const {
    switch (at.index) {
    case kLogicalDevice:
        return at.logicalDevice;
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
    switch (at.index) {
    case kActiveBanks:
        return setup.activeBanks;
    case kDirections:
        return at.directions;
    case kData:
        return static_cast<std::uint8_t>(pins.Read());
    case kThird:
        return at.third;
    case kFourth:
        return at.fourth;
    default:
        return kNothing;
    }
}

void SuperIo::WriteRegister(std::uint8_t value) {
    if (at.index == kLogicalDevice) {
        at.logicalDevice = value;
    }
    if (!IsGpioSelected()) {
        return;
    }
    switch (at.index) {
    case kDirections:
        at.directions = value;
        break;
    case kData:
        at.latch = value;
        break;
    case kThird:
        at.third = value;
        break;
    case kFourth:
        at.fourth = value;
        break;
    default:
        return;
    }
    pins.Set(at.latch, static_cast<std::uint8_t>(~at.directions));
}

bool SuperIo::IsGpioSelected() const {
    return at.logicalDevice == kGpioDevice;
}

} // namespace rig::io
