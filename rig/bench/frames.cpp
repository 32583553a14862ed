#include "frames.h"

#include "message.h"

namespace rig::bench {

namespace {

constexpr std::size_t kBytesOfLength = 8;

} // namespace

std::string Framed(std::string_view message) {
    return Writer().Add(message).bytes;
}

std::optional<std::string> Frames::Take() {
    if (waiting.size() < kBytesOfLength) {
        return std::nullopt;
    }
    const std::uint64_t length = Reader(waiting).Number();
    if (length > kLongestMessage) {
        throw Malformed("a message is too long");
    }
    const std::size_t end = kBytesOfLength + static_cast<std::size_t>(length);
    if (waiting.size() < end) {
        return std::nullopt;
    }
    std::string message = waiting.substr(kBytesOfLength, static_cast<std::size_t>(length));
    waiting.erase(0, end);
    return message;
}

} // namespace rig::bench
