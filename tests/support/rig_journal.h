/// The usual hardware for tests, and the rig's journal as text.
#pragma once

#include <initializer_list>
#include <iosfwd>
#include <string>
#include <vector>

#include <solvane/rig.h>

namespace test {

/// Journal entries. GoogleTest shows an aligned difference of two.
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

/// The entries of these kinds, oldest first; empties the journal.
Journal TakeEntries(std::initializer_list<rig_entry_kind> kinds);

} // namespace test
