/// A chip on the USB: what it is, its channels, and whether it is there.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>

#include "channel.h"
#include "scenario.h"

namespace rig::usb {

/// What kind of chip it is, as its driver tells.
struct UsbModel {
    std::uint32_t type;
    std::uint32_t id;
    bool isHighSpeed;
    std::size_t channels;
    std::size_t mpsseChannels; ///< the first ones
};
const UsbModel& ModelOf(const UsbChipSetup& setup);

class UsbChip {
  public:
    UsbChip(const UsbChipSetup& start, Installation& camera, const Timeline& time);

    const UsbChipSetup setup;
    bool isPlugged;
    bool isOpenElsewhere;                    ///< by another program, until the chip leaves
    Timeline::Ticket comeback;               ///< due while a port reset keeps the chip away
    std::optional<std::uint64_t> attachedAt; ///< when it came to the bus, ns; none: long ago
    std::deque<Channel> channels;

    /// Whether it has been on the bus for so long.
    bool IsThereFor(std::uint64_t nanoseconds) const {
        return !attachedAt || timeline.Now() >= *attachedAt + nanoseconds;
    }

    /// As the driver names the channel, if the field had room enough.
    std::string SerialOf(std::size_t channel) const;
    std::string DescriptionOf(std::size_t channel) const;

    /// Without power the mode is forgotten and every pin let go of.
    void LosePower();

  private:
    char LetterOf(std::size_t channel) const;

    const Timeline& timeline;
};

} // namespace rig::usb
