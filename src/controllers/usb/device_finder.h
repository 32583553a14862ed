/// Finds the FT2232H among the chips that the D2XX library lists.
#pragma once

#include "logger.h"

namespace SLV::Internal {

/// D2XX gives the channels of a chip its serial number with their letter at the end.
inline constexpr char kSerialChannel = 'A'; ///< the COM port
inline constexpr char kLineChannel = 'B';   ///< the camera lines

/// The device index of the first FT2232H channel with the letter (in either case), or -1, with the
/// reason in the log.
int FindDevice(Logger& logger, char letter);

} // namespace SLV::Internal
