/// Finds the FT2232H among the chips that the D2XX library lists.
#pragma once

#include "logger.h"

namespace SLV::Internal {

/// The D2XX library gives both channels of a chip one serial number, ended by their letter.
inline constexpr char kSerialChannel = 'A'; ///< the COM port
inline constexpr char kLineChannel = 'B';   ///< the camera lines

/// The device index of the first FT2232H channel whose serial number ends in the letter (either
/// case), or -1, with the reason in the log.
int FindDevice(Logger& logger, char letter);

} // namespace SLV::Internal
