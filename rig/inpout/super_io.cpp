#include "super_io.h"

#include <array>

namespace rig::io {

namespace {

/// The power pins are active high.
constexpr std::array kBankWires = {
    Wire{0, RIG_TRIGGER, true, true},      Wire{1, RIG_READY, true, false},
    Wire{2, RIG_MEP, false, false},        Wire{3, RIG_CLEAR_MEP, false, true},
    Wire{4, RIG_DARK, true, true},         Wire{5, RIG_ACCESSORIES_POWER, true, true},
    Wire{6, RIG_CAMERA_POWER, true, true}, Wire{7, RIG_CAMERA_POWER, true, false},
};

constexpr std::uint8_t kOpeningKey = 0x87;
constexpr unsigned kOpeningKeys = 2;
constexpr std::uint8_t kClosingKey = 0xAA;
constexpr std::uint8_t kGpioDevice = 7;
constexpr std::uint8_t kNothing = 0xFF; ///< what a read returns where no device answers

} // namespace

std::span<const Wire> BankWires() {
    return kBankWires;
}

void RegisterSelection::WriteIndex(std::uint8_t value) {
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

bool RegisterSelection::IsOfGpio() const {
    return isConfiguring && logicalDevice == kGpioDevice;
}

SuperIo::SuperIo(const SuperIoSetup& start, Installation& camera)
    : setup(start), pins(camera, BankWires(), 0) {
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
        at.WriteIndex(value);
        return;
    }
    at.keys = 0;
    if (at.isConfiguring) {
        WriteRegister(value);
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
    if (!at.IsOfGpio()) {
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
    if (!at.IsOfGpio()) {
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

} // namespace rig::io
