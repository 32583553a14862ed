/// The parameters of a recorded call, which may be fewer than its function has.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "call.h"

namespace rig::record {

inline const Value& PartOf(const std::vector<Value>& values, std::size_t i) {
    static const Value none;
    return i < values.size() ? values[i] : none;
}

inline const Value& Input(const Call& call, std::size_t i) {
    return PartOf(call.inputs, i);
}

inline const Value& Output(const Call& call, std::size_t i) {
    return PartOf(call.outputs, i);
}

/// 0 if the value is not a number.
inline std::uint32_t Word(const Value& value) {
    return static_cast<std::uint32_t>(Number(value));
}

/// Empty if the value is no text and no bytes.
inline std::string_view BytesOf(const Value& value) {
    const auto* const bytes = std::get_if<std::string>(&value);
    return bytes != nullptr ? std::string_view(*bytes) : std::string_view();
}

/// How FT_OpenEx and FT_ListDevices identify a device, of the flags of the latter.
inline std::uint32_t ListedBy(std::uint64_t flags) {
    return static_cast<std::uint32_t>(flags) &
           (usb::kBySerialNumber | usb::kByDescription | usb::kByLocation);
}

/// Whether the call is one of an open device, whose handle is its first parameter.
inline bool IsOnHandle(const Call& call) {
    const auto& parameters = call.function.parameters;
    return !parameters.empty() && parameters.front().in == Show::Handle;
}

} // namespace rig::record
