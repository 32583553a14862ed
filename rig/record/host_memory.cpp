#include "host_memory.h"

#include <cstring>

namespace rig::record {

namespace {

constexpr std::uint64_t kPage = 4096; ///< protection changes at no other addresses

const char* At(std::uint64_t address) {
    return reinterpret_cast<const char*>(static_cast<std::uintptr_t>(address));
}

} // namespace

std::optional<std::string> BytesAt(std::uint64_t address, std::size_t size) {
    if (size != 0 && !IsReadable(address, size)) {
        return std::nullopt;
    }
    return std::string(size != 0 ? At(address) : "", size);
}

std::optional<std::uint64_t> NumberAt(std::uint64_t address, std::size_t size) {
    if (!IsReadable(address, size)) {
        return std::nullopt;
    }
    std::uint64_t number = 0;
    std::memcpy(&number, At(address), size);
    return number;
}

std::optional<std::string> TextAt(std::uint64_t address, std::size_t room) {
    std::string text;
    for (std::uint64_t next = address; text.size() < room; ++next) {
        if ((next == address || next % kPage == 0) && !IsReadable(next, 1)) {
            return std::nullopt;
        }
        if (*At(next) == '\0') {
            break;
        }
        text += *At(next);
    }
    return text;
}

} // namespace rig::record
