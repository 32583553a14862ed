#include "pins.h"

namespace rig::usb {

namespace {

bool Bit(std::uint8_t byte, std::uint8_t bit) {
    return (byte >> bit & 1) != 0;
}

} // namespace

void Pins::Set(Bank bank, std::uint8_t value, std::uint8_t direction) {
    const Outputs before = Of(bank);
    outputs[static_cast<std::size_t>(bank)] = {value, direction};
    for (const Wire& wire : wiring) {
        if (wire.bank != bank || !wire.isDrivenByChip) {
            continue;
        }
        if (Bit(direction, wire.bit)) {
            installation.Drive(wire.line, Bit(value, wire.bit) == wire.activeLevel);
        } else if (Bit(before.direction, wire.bit)) {
            installation.Release(wire.line);
        }
    }
}

std::uint8_t Pins::Read(Bank bank) const {
    constexpr unsigned pulledUp = 0xff;
    unsigned levels = pulledUp;
    for (const Wire& wire : wiring) {
        if (wire.bank == bank && installation.Level(wire.line) != wire.activeLevel) {
            levels &= ~(1U << wire.bit);
        }
    }
    const auto [value, direction] = Of(bank);
    return static_cast<std::uint8_t>((value & direction) | (levels & ~unsigned{direction}));
}

void Pins::Release() {
    Set(Bank::Low, 0, 0);
    Set(Bank::High, 0, 0);
}

} // namespace rig::usb
