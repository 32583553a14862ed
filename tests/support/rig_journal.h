/// The rig as every kind of test uses it: the usual hardware, and what happened on it as text.
#pragma once

#include <initializer_list>
#include <iosfwd>
#include <string>
#include <vector>

#include <solvane/rig.h>

namespace test {

/// What happened, entry by entry. GoogleTest shows two that differ as an aligned difference.
struct Journal : std::vector<std::string> {
    using vector::vector;
};
void PrintTo(const Journal& journal, std::ostream* stream);

/// One FT2232H with the camera on channel B ("SLV1B"), everything as it is after plugging in.
inline constexpr const char* kUsbCamera = "[[usb]]\nchip = \"FT2232H\"\nserial = \"SLV1\"\n";

/// The camera on a parallel port that Windows knows.
inline constexpr const char* kLptCamera = "[lpt]\n";

/// The camera on the GPIO pins of a board with the Embedded API.
inline constexpr const char* kEapiCamera = "[eapi]\n";

/// The camera on the GPIO bank of a Super I/O chip.
inline constexpr const char* kSuperIoCamera = "[superio]\n";

/// The entries of some kinds since the last look, oldest first; the others are forgotten.
Journal TakeEntries(std::initializer_list<rig_entry_kind> kinds);

} // namespace test
