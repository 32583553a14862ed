/// One channel of a chip: a serial port that can become sixteen pins.
#pragma once

#include <algorithm>
#include <cstdint>
#include <span>
#include <vector>

#include "mpsse.h"
#include "pins.h"
#include "receive_queue.h"
#include "timeline.h"

namespace rig::usb {

class Channel {
  public:
    Channel(bool canBecomePins, std::uint32_t most, Installation& camera, const Wiring& wiring,
            const Timeline& time)
        : hasMpsse(canBecomePins), mostBaud(most), timeline(time), pins(camera, wiring) {}
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
    std::uint8_t Latency() const { return latency; }
    void SetReadTimeout(std::uint32_t milliseconds) { readTimeout = milliseconds; }
    /// In milliseconds; 0 waits for ever.
    std::uint32_t ReadTimeout() const { return readTimeout; }

    /// The driver takes nothing from the chip until it is told to go on.
    void Stop() { stoppedAt = timeline.Now(); }
    void GoOn() { stoppedAt = kNever; }
    bool IsStopped() const { return stoppedAt != kNever; }

    /// How many bytes the host can have by now.
    std::size_t Visible() const { return received.Visible(LastLook()); }
    std::vector<std::uint8_t> Take(std::size_t count) { return received.Take(count, LastLook()); }

    /// The levels of xDBUS.
    std::uint8_t DataPins() const { return static_cast<std::uint8_t>(pins.low.Read()); }

    const bool hasMpsse;
    const std::uint32_t mostBaud; ///< the highest rate of its UART
    ReceiveQueue received;

  private:
    static constexpr std::uint8_t kDefaultLatency = 16;
    static constexpr std::uint64_t kNever = ~std::uint64_t{0};

    std::uint64_t LastLook() const { return std::min(timeline.Now(), stoppedAt); }

    const Timeline& timeline;
    Pins pins;
    Mpsse mpsse{pins};
    Mode mode = Mode::Uart;
    std::uint8_t latency = kDefaultLatency;
    std::uint32_t readTimeout = 0;
    std::uint64_t stoppedAt = kNever;
};

} // namespace rig::usb
