/// What the D2XX functions have in common: how they are journalled, and how they find the channel
/// that a handle stands for.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "d2xx.h"
#include "ftd2xx_front.h"
#include "vendor_call.h"

namespace rig::usb {

using Bytes = std::span<const std::uint8_t>;

/// Printed as "0x0100".
struct Hex {
    std::uint16_t value;
};

/// The bytes behind a host's pointer, which may be null.
Bytes BytesAt(const void* buffer, std::uint32_t count);

// Arguments as the journal shows them.
std::string Describe(FT_HANDLE handle);
std::string Describe(Bytes bytes);
std::string Describe(Hex number);
std::string Describe(int number);
std::string Describe(std::uint32_t number);

/// Serves one call: counts and journals it with its inputs, and does the work(VendorCall&) unless a
/// fault stands in its place. No exception leaves a vendor function.
template <class Work, class... Inputs>
FT_STATUS Serve(const char* function, Work work, Inputs... inputs) {
    try {
        VendorCall call(function);
        (call.Input(Describe(inputs)), ...);
        return call.Answer([&] { return work(call); });
    } catch (...) {
        return FT_INSUFFICIENT_RESOURCES;
    }
}

/// The same for a function of an open channel: work(VendorCall&, Channel&).
template <class Work, class... Inputs>
FT_STATUS ServeChannel(const char* function, FT_HANDLE handle, Work work, Inputs... inputs) {
    const auto workOnChannel = [&](VendorCall& call) {
        FT_STATUS status = FT_OK;
        Channel* channel = front.bus->Find(handle, status);
        return channel != nullptr ? work(call, *channel) : status;
    };
    return Serve(function, workOnChannel, handle, inputs...);
}

} // namespace rig::usb
