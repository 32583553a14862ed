/// Statuses of the published EAPI that eapi.h does not name because the library does not use them.
#pragma once

#include "eapi.h"

namespace rig::eapi {

inline constexpr EApiStatus_t kNotInitialised = 0xFFFF'FFFF;
inline constexpr EApiStatus_t kAllocationError = 0xFFFF'FFFD;
inline constexpr EApiStatus_t kInvalidParameter = 0xFFFF'FEFF;
inline constexpr EApiStatus_t kInvalidDirection = 0xFFFF'FEFC;
inline constexpr EApiStatus_t kInvalidBitmask = 0xFFFF'FEFB;
inline constexpr EApiStatus_t kUnsupported = 0xFFFF'FCFF;
inline constexpr EApiStatus_t kNotFound = 0xFFFF'FBFF;
inline constexpr EApiStatus_t kReadError = 0xFFFF'FAFF;
inline constexpr EApiStatus_t kWriteError = 0xFFFF'FAFE;

} // namespace rig::eapi
