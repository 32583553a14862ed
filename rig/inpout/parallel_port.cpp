#include "parallel_port.h"

namespace rig::io {

namespace {

enum Offset : std::uint16_t { kData, kStatus, kControl, kRegisters };

/// The port always drives all of its data and control lines.
constexpr std::uint32_t kAllOutputs = 0xFF;

constexpr std::array<std::span<const Wire>, 3> kGroups{kDataWires, kStatusWires, kControlWires};

} // namespace

ParallelPort::ParallelPort(const LptSetup& start, Installation& camera)
    : setup(start), data(camera, kDataWires, 0, kGroups), status(camera, kStatusWires, 0, kGroups),
      control(camera, kControlWires, 0, kGroups) {
    data.Set(data.LineLevels(), kAllOutputs);
    control.Set(control.LineLevels(), kAllOutputs);
}

void ParallelPort::LosePower() {
    data.Release();
    control.Release();
}

/// Addresses wrap at 16 bits, as on the bus.
std::uint16_t ParallelPort::OffsetOf(std::uint16_t port) const {
    return static_cast<std::uint16_t>(port - setup.base);
}

bool ParallelPort::Has(std::uint16_t port) const {
    return OffsetOf(port) < kRegisters;
}

std::uint8_t ParallelPort::Read(std::uint16_t port) const {
    switch (OffsetOf(port)) {
    case kData:
        return static_cast<std::uint8_t>(data.Read());
    case kStatus:
        return Status();
    default:
        return static_cast<std::uint8_t>(control.Read());
    }
}

void ParallelPort::Write(std::uint16_t port, std::uint8_t value) {
    switch (OffsetOf(port)) {
    case kData:
        data.Set(value, kAllOutputs);
        break;
    case kControl:
        control.Set(value, kAllOutputs);
        break;
    default: // the status register is read-only
        break;
    }
}

std::uint8_t ParallelPort::Status() const {
    unsigned bits = status.Read();
    const auto loop = [&](const Loopback& wire, bool isIntact) {
        if (isIntact && (control.Read() & wire.control) != 0) {
            bits |= wire.status;
        }
    };
    loop(kPresence, setup.presenceWire);
    loop(kPower, setup.powerWire);
    return static_cast<std::uint8_t>(bits);
}

} // namespace rig::io
