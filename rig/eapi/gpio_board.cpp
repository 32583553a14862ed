#include "gpio_board.h"

namespace rig::eapi {

namespace {

constexpr std::uint32_t kPulledUp = 0xFFFF'FFFF;
constexpr std::uint32_t kOnePin = 1;

} // namespace

GpioBoard::GpioBoard(const EapiSetup& start, Installation& camera)
    : setup(start), pins(camera, kBoardWires, kPulledUp) {
    LosePower();
}

void GpioBoard::LosePower() {
    pins.Release();
    outputs = 0;
    latch = pins.LineLevels();
}

EApiStatus_t GpioBoard::SetDirection(EApiId_t id, std::uint32_t mask, std::uint32_t direction) {
    const EApiStatus_t status = Check(id, mask);
    if (status != EAPI_STATUS_SUCCESS) {
        return status;
    }
    if (direction != EAPI_GPIO_INPUT && direction != EAPI_GPIO_OUTPUT) {
        return kInvalidDirection;
    }
    Change(outputs, id, direction == EAPI_GPIO_OUTPUT);
    return EAPI_STATUS_SUCCESS;
}

EApiStatus_t GpioBoard::GetLevel(EApiId_t id, std::uint32_t mask, std::uint32_t& level) const {
    const EApiStatus_t status = Check(id, mask);
    if (status == EAPI_STATUS_SUCCESS) {
        level = pins.Read() >> id & 1;
    }
    return status;
}

EApiStatus_t GpioBoard::SetLevel(EApiId_t id, std::uint32_t mask, std::uint32_t level) {
    const EApiStatus_t status = Check(id, mask);
    if (status != EAPI_STATUS_SUCCESS) {
        return status;
    }
    if (level > 1) {
        return kInvalidParameter;
    }
    if ((outputs >> id & 1) == 0) {
        return kInvalidDirection;
    }
    Change(latch, id, level != 0);
    return EAPI_STATUS_SUCCESS;
}

EApiStatus_t GpioBoard::Check(EApiId_t id, std::uint32_t mask) const {
    if (mask == 0) {
        return kInvalidParameter;
    }
    if (id >= setup.gpios) {
        return kUnsupported;
    }
    return mask == kOnePin ? EAPI_STATUS_SUCCESS : kInvalidBitmask;
}

void GpioBoard::Change(std::uint32_t& bits, EApiId_t id, bool isSet) {
    const std::uint32_t mask = std::uint32_t{1} << id;
    bits = isSet ? bits | mask : bits & ~mask;
    pins.Set(latch, outputs);
}

} // namespace rig::eapi
