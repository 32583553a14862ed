/// How a vendor call goes wrong in the field.
#pragma once

#include <cstdint>

#include <solvane/rig.h>

namespace rig {

inline constexpr std::uint32_t kEverything = 0xFFFF'FFFF;

/// A rig_fault without its place.
struct Way {
    std::uint32_t kind;
    std::uint32_t status = 0;
    std::uint32_t count = 0;
};

constexpr Way Fails(std::uint32_t status) {
    return {RIG_FAULT_STATUS, status};
}

/// Success is reported, and nothing was done: no bytes, no handle, an empty answer.
constexpr Way Silent() {
    return {RIG_FAULT_SILENT};
}

constexpr Way Counts(std::uint32_t count) {
    return {RIG_FAULT_COUNT, 0, count};
}

/// The work was done all the same, or so much of it.
constexpr Way DoneButFails(std::uint32_t status, std::uint32_t count = kEverything) {
    return {RIG_FAULT_STATUS | RIG_FAULT_COUNT, status, count};
}

} // namespace rig
