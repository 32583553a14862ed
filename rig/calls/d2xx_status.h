/// D2XX statuses and flags that the stand-in uses and d2xx.h does not name.
#pragma once

#include "d2xx.h"

namespace rig::usb {

inline constexpr FT_STATUS kInvalidHandle = 1;
inline constexpr FT_STATUS kDeviceNotFound = 2;
inline constexpr FT_STATUS kDeviceNotOpened = 3;
inline constexpr FT_STATUS kIoError = 4;
inline constexpr FT_STATUS kInvalidParameter = 6;
inline constexpr FT_STATUS kInvalidBaudRate = 7;
inline constexpr FT_STATUS kNotSupported = 17;

// How FT_OpenEx and FT_ListDevices identify a device.
inline constexpr std::uint32_t kBySerialNumber = 1;
inline constexpr std::uint32_t kByDescription = 2;
inline constexpr std::uint32_t kByLocation = 4;

// What FT_ListDevices is to return.
inline constexpr std::uint32_t kListNumberOnly = 0x8000'0000;
inline constexpr std::uint32_t kListByIndex = 0x4000'0000;
inline constexpr std::uint32_t kListAll = 0x2000'0000;

// How the FT_W32_ functions, which imitate those of Windows, report failure.
inline constexpr std::uint32_t kFalse = 0;
inline constexpr std::uint32_t kErrorNotSupported = 50;     ///< ERROR_NOT_SUPPORTED
inline constexpr std::uint32_t kNoFileHandle = 0xFFFF'FFFF; ///< INVALID_HANDLE_VALUE

} // namespace rig::usb
