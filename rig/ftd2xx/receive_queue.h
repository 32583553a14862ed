/// The bytes on their way from a channel to the host.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <span>
#include <vector>

namespace rig::usb {

/// Bytes wait in the chip until its latency timer expires; only then can the host see them.
class ReceiveQueue {
  public:
    void Add(std::span<const std::uint8_t> bytes, std::uint64_t visibleAt);
    void Clear() { pending.clear(); }

    /// All bytes, visible or not.
    std::size_t Size() const { return pending.size(); }
    std::size_t Visible(std::uint64_t now) const;

    /// Takes out at most `count` of the visible bytes.
    std::vector<std::uint8_t> Take(std::size_t count, std::uint64_t now);

  private:
    struct Byte {
        std::uint8_t value;
        std::uint64_t visibleAt;
    };
    std::deque<Byte> pending;
};

} // namespace rig::usb
