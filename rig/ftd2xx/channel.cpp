#include "channel.h"

namespace rig::usb {

void Channel::Enter(Mode next) {
    mode = next;
    mpsse.Restart();
    pins.Release();
}

void Channel::Write(std::span<const std::uint8_t> bytes) {
    if (mode == Mode::Mpsse) {
        const std::uint64_t visibleAt = timeline.Now() + latency * kNanosecondsPerMillisecond;
        received.Add(mpsse.Execute(bytes), visibleAt);
    }
}

void Channel::ResetDriver() {
    received.Clear();
    latency = kDefaultLatency;
    readTimeout = 0;
    GoOn();
}

} // namespace rig::usb
