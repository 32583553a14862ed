/// A chip on the USB bus: its model, its channels, and whether it is plugged in.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>

#include "channel.h"
#include "scenario.h"

namespace rig::usb {

/// A chip model, as the driver reports it.
struct UsbModel {
    std::uint32_t type;
    std::uint32_t id;
    bool isHighSpeed;
    std::size_t channels;
    std::size_t mpsseChannels; ///< how many channels, from the first on, have an MPSSE
};
const UsbModel& ModelOf(const UsbChipSetup& setup);

class UsbChip {
  public:
    UsbChip(const UsbChipSetup& start, Installation& camera, const Timeline& time);

    const UsbChipSetup setup;
    bool isPlugged;
    bool isOpenElsewhere;                    ///< by another program, until the chip leaves
    Timeline::Ticket comeback;               ///< due while a port reset keeps the chip away
    std::optional<std::uint64_t> attachedAt; ///< when attached, ns; none: before the start
    std::deque<Channel> channels;

    /// Whether it has been on the bus for at least this long.
    bool IsThereFor(std::uint64_t nanoseconds) const {
        return !attachedAt || timeline.Now() >= *attachedAt + nanoseconds;
    }

    /// The driver's serial number of a channel, not yet cut to the field.
    std::string SerialOf(std::size_t channel) const;
    std::string DescriptionOf(std::size_t channel) const;

    /// Resets the modes and makes every pin an input.
    void LosePower();

  private:
    char LetterOf(std::size_t channel) const;

    const Timeline& timeline;
};

} // namespace rig::usb
