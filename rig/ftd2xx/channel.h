/// One channel of a chip: a serial port that can become sixteen pins.
#pragma once

#include <cstdint>
#include <span>

#include "mpsse.h"
#include "pins.h"
#include "receive_queue.h"
#include "timeline.h"

namespace rig::usb {

class Channel {
  public:
    Channel(bool canBecomePins, Installation& camera, const Wiring& wiring, const Timeline& time)
        : hasMpsse(canBecomePins), timeline(time), pins(camera, wiring) {}
    Channel(const Channel&) = delete;
    Channel& operator=(const Channel&) = delete;

    enum class Mode { Uart, Mpsse };

    /// Also the way to start a mode afresh. Any change lets go of the pins.
    void Enter(Mode next);

    /// Bytes from the host. A UART has nothing at its other end: they are lost.
    void Write(std::span<const std::uint8_t> bytes);

    /// What the driver sets up for a new handle.
    void ResetDriver();

    void SetLatency(std::uint8_t milliseconds) { latency = milliseconds; }
    void SetReadTimeout(std::uint32_t milliseconds) { readTimeout = milliseconds; }
    /// In milliseconds; 0 waits for ever.
    std::uint32_t ReadTimeout() const { return readTimeout; }

    /// How many bytes the host can have by now.
    std::size_t Visible() const { return received.Visible(timeline.Now()); }

    const bool hasMpsse;
    ReceiveQueue received;

  private:
    static constexpr std::uint8_t kDefaultLatency = 16;

    const Timeline& timeline;
    Pins pins;
    Mpsse mpsse{pins};
    Mode mode = Mode::Uart;
    std::uint8_t latency = kDefaultLatency;
    std::uint32_t readTimeout = 0;
};

} // namespace rig::usb
