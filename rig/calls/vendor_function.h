/// The vendor functions that the rig stands in for, as vendor_functions.inc describes them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "d2xx_status.h"
#include "eapi_status.h"
#include "failure_mode.h"
#include "kinds.h"

namespace rig {

enum class Function {
#define FUNCTION(library, name, ...) name,
#include "vendor_functions.inc"
};

struct Library {
    const char* name;
    std::uint32_t nullPointer; ///< the status for a null pointer that is not allowed
    std::uint32_t outOfMemory;
};
inline constexpr Library kFtd2xx{"FTD2XX.dll", usb::kInvalidParameter, FT_INSUFFICIENT_RESOURCES};
inline constexpr Library kEapi{"EAPI_Library.dll", eapi::kInvalidParameter, eapi::kAllocationError};
inline constexpr Library kInpout{"inpoutx64.dll", 0, 0};
inline constexpr Library kWmi{"", 0x8004'1008, 0x8004'1006}; ///< COM methods, not exported by name

struct VendorFunction {
    Function id;
    const Library& library;
    const char* name;
    unsigned ordinal; ///< 0: bound by name
    Show result;
    std::span<const Parameter> parameters;
    std::span<const FailureMode> failureModes;
};

/// Indexed by Function.
std::span<const VendorFunction> VendorFunctions();

inline const VendorFunction& Described(Function function) {
    return VendorFunctions()[static_cast<std::size_t>(function)];
}

} // namespace rig
