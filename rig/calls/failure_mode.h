/// How a vendor call goes wrong in the field.
#pragma once

#include <cstdint>

#include <solvane/rig.h>

namespace rig {

inline constexpr std::uint32_t kEverything = 0xFFFF'FFFF;

/// A rig_fault without the function and the call at which it happens.
struct FailureMode {
    std::uint32_t kind;
    std::uint32_t status = 0;
    std::uint32_t count = 0;
};

constexpr FailureMode Fails(std::uint32_t status) {
    return {RIG_FAULT_STATUS, status};
}

/// The call reports success and does nothing: it moves no bytes, gives no handle, answers nothing.
constexpr FailureMode Silent() {
    return {RIG_FAULT_SILENT};
}

constexpr FailureMode Counts(std::uint32_t count) {
    return {RIG_FAULT_COUNT, 0, count};
}

/// The call does its work, or `count` of it, but reports a failure.
constexpr FailureMode DoneButFails(std::uint32_t status, std::uint32_t count = kEverything) {
    return {RIG_FAULT_STATUS | RIG_FAULT_COUNT, status, count};
}

} // namespace rig
