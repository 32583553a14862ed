/// The statuses of D2XX that the stand-in gives besides those that d2xx.h names.
#pragma once

#include "d2xx.h"

namespace rig::usb {

inline constexpr FT_STATUS kInvalidHandle = 1;
inline constexpr FT_STATUS kDeviceNotFound = 2;
inline constexpr FT_STATUS kDeviceNotOpened = 3;
inline constexpr FT_STATUS kIoError = 4;
inline constexpr FT_STATUS kInvalidParameter = 6;

} // namespace rig::usb
