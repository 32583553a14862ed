/// The hardware that was there while a recording was made, as far as its calls show it.
#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "handle_names.h"
#include "recording.h"

namespace rig::record {

/// A chip on the USB bus.
struct RecordedChip {
    std::string serial; ///< without the letters of its channels
    std::string letters;
    std::string description;      ///< likewise; empty if it was never listed
    std::uint32_t type = 0;       ///< FT_DEVICE_2232H ...; 0 if it was never listed
    bool isOpenElsewhere = false; ///< listed without anything that tells it from others
};

struct RecordedSuperIo {
    std::optional<std::uint8_t> firstId;
    std::optional<std::uint8_t> secondId;
    std::optional<std::uint8_t> activeBanks;
};

struct RecordedHardware {
    std::vector<RecordedChip> chips;    ///< in the order in which they were listed first
    std::optional<std::uint32_t> gpios; ///< of a board with the Embedded API
    std::optional<RecordedSuperIo> superIo;
    std::optional<std::uint16_t> parallelPort; ///< its first port
    bool isDriverOpen = false;                 ///< InpOut's, at the first question

    /// The chip that the device is a channel of.
    std::optional<std::size_t> ChipOf(std::string_view serialOfDevice) const;
};

RecordedHardware HardwareOf(const Recording& recording);

/// Whether the device can be the one that carries the camera's lines: channel B of an FT2232H. What
/// was never listed may be.
bool CarriesTheCamera(const Device& device);

/// The chips on the bus when FT_CreateDeviceInfoList was called, if its list was fetched whole and
/// names them all.
std::optional<std::set<std::size_t>>
ChipsListed(const Recording& recording, const RecordedHardware& hardware, std::size_t call);

/// Whether a call on a handle that answered "I/O error" met a chip that had left the bus: no later
/// call works on a handle that was open for the chip then.
bool HasLeft(const Recording& recording, const RecordedHardware& hardware, std::size_t call);

} // namespace rig::record
