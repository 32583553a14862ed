#include "lpt_port.h"

#include "fine_timing.h"
#include "inpout.h"
#include "kernel.h"

namespace SLV::Internal {

std::uint16_t s_lptBaseAddress = 0;

namespace lpt {

namespace {

std::uint16_t AddressOf(Register where) {
    return static_cast<std::uint16_t>(s_lptBaseAddress + static_cast<unsigned>(where));
}

std::uint8_t With(std::uint8_t value, Bit bit) {
    return static_cast<std::uint8_t>(value | bit.mask);
}

std::uint8_t Without(std::uint8_t value, Bit bit) {
    return static_cast<std::uint8_t>(value & ~bit.mask);
}

} // namespace

std::uint8_t Read(Register from) {
    return static_cast<std::uint8_t>(Inp32(AddressOf(from)));
}

void Write(Register to, std::uint8_t value) {
    Out32(AddressOf(to), value);
}

bool IsSet(Bit bit) {
    return (Read(bit.where) & bit.mask) != 0;
}

void Set(Bit bit) {
    Write(bit.where, With(Read(bit.where), bit));
}

void Clear(Bit bit) {
    Write(bit.where, Without(Read(bit.where), bit));
}

void Pulse(Bit output, unsigned milliseconds) {
    const std::uint8_t value = Read(output.where);
    Write(output.where, With(value, output));
    platform::Sleep(milliseconds);
    Write(output.where, Without(value, output));
}

void PulseAgainst(Bit output, unsigned milliseconds) {
    const std::uint8_t value = Read(output.where);
    Write(output.where, static_cast<std::uint8_t>(value ^ output.mask));
    platform::Sleep(milliseconds);
    Write(output.where, value);
}

bool ProbeLoopback(Bit output, Bit input) {
    const FineTiming fineTiming;
    const std::uint8_t before = Read(output.where);
    Write(output.where, Without(before, output));
    platform::Sleep(0); // the wire settles
    bool follows = !IsSet(input);
    if (follows) {
        Write(output.where, With(before, output));
        platform::Sleep(0);
        follows = IsSet(input);
    }
    Write(output.where, before);
    return follows;
}

} // namespace lpt
} // namespace SLV::Internal
