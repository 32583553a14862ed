#include "d2xx_call.h"

#include <algorithm>
#include <cstdio>

namespace rig::usb {

Bytes BytesAt(const void* buffer, std::uint32_t count) {
    return {static_cast<const std::uint8_t*>(buffer), buffer != nullptr ? count : 0};
}

std::string Describe(FT_HANDLE handle) {
    return front.bus->NameOf(handle);
}

std::string Describe(Bytes bytes) {
    constexpr std::size_t kShown = 16;
    std::string text = "[";
    for (const std::uint8_t byte : bytes.first(std::min(bytes.size(), kShown))) {
        char hex[4];
        std::snprintf(hex, sizeof hex, "%02x ", unsigned{byte});
        text += hex;
    }
    if (bytes.size() > kShown) {
        text += "...";
    } else if (!bytes.empty()) {
        text.pop_back();
    }
    return text + ']';
}

std::string Describe(Hex number) {
    char text[8];
    std::snprintf(text, sizeof text, "0x%04x", unsigned{number.value});
    return text;
}

std::string Describe(int number) {
    return std::to_string(number);
}

std::string Describe(std::uint32_t number) {
    return std::to_string(number);
}

} // namespace rig::usb
