#include "receive_queue.h"

#include <algorithm>

namespace rig::usb {

void ReceiveQueue::Add(std::span<const std::uint8_t> bytes, std::uint64_t visibleAt) {
    for (const std::uint8_t byte : bytes) {
        pending.push_back({byte, visibleAt});
    }
}

std::size_t ReceiveQueue::Visible(std::uint64_t now) const {
    // Stops at the first byte that is not due: after the latency was shortened, later bytes may be
    // due before it, but must not overtake it.
    const auto invisible = std::find_if(pending.begin(), pending.end(),
                                        [&](const Byte& byte) { return byte.visibleAt > now; });
    return static_cast<std::size_t>(invisible - pending.begin());
}

std::vector<std::uint8_t> ReceiveQueue::Take(std::size_t count, std::uint64_t now) {
    std::vector<std::uint8_t> taken;
    for (std::size_t i = std::min(count, Visible(now)); i > 0; --i) {
        taken.push_back(pending.front().value);
        pending.pop_front();
    }
    return taken;
}

} // namespace rig::usb
