/// One channel of a chip: a serial port, or sixteen pins in MPSSE mode.
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

    /// Enters a mode, or restarts the current one. Either way all pins become inputs first.
    void Enter(Mode next);

    /// Takes bytes from the host. In UART mode they are lost, as nothing is connected.
    void Write(std::span<const std::uint8_t> bytes);

    /// Resets the settings that the driver keeps, as it does for a new handle.
    void ResetDriver();

    void SetLatency(std::uint8_t milliseconds) { latency = milliseconds; }
    std::uint8_t Latency() const { return latency; }
    void SetReadTimeout(std::uint32_t milliseconds) { readTimeout = milliseconds; }
    /// In milliseconds; 0 waits for ever.
    std::uint32_t ReadTimeout() const { return readTimeout; }

    /// Makes the driver stop fetching bytes from the chip.
    void Stop() { stoppedAt = timeline.Now(); }
    void GoOn() { stoppedAt = kNever; }
    bool IsStopped() const { return stoppedAt != kNever; }

    /// How many bytes the host can read now.
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
