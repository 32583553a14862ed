#include "bit_port.h"

#include <array>

#include "kernel.h"

namespace SLV::Internal {

namespace {

/// MPSSE commands, as published by FTDI (AN_108).
constexpr std::uint8_t kSetLowByte = 0x80;
constexpr std::uint8_t kReadLowByte = 0x81;
constexpr std::uint8_t kSetHighByte = 0x82;
constexpr std::uint8_t kReadHighByte = 0x83;

/// For an answer: the chip's 1 ms latency and a USB frame. For a write: its time on the wire.
constexpr unsigned kSettleMilliseconds = 2;
constexpr int kPollAttempts = 100;

template <typename... Pieces>
void LogLine(const BitPort& port, const Pieces&... pieces) {
    if (port.logger != nullptr) {
        port.logger->Line(pieces...);
    }
}

template <typename... Pieces>
void LogAppend(const BitPort& port, const Pieces&... pieces) {
    if (port.logger != nullptr) {
        port.logger->Append(pieces...);
    }
}

/// A port's pins for the log, formatted only when logging is on.
struct Dump {
    const BitPort& port;

    friend LogText& operator<<(LogText& text, const Dump& dump) {
        const std::uint8_t value = dump.port.value;
        return text << (&dump.port == &s_lowPort ? DescribeLowByte(value)
                                                 : DescribeHighByte(value));
    }
};

/// Waits until exactly one byte can be read; `available` is what the chip last reported.
FT_STATUS AwaitOneByte(const BitPort& port, std::uint32_t& available) {
    FT_STATUS status = FT_OTHER_ERROR;
    for (int attempt = 0; attempt < kPollAttempts; ++attempt) {
        platform::Sleep(kSettleMilliseconds);
        status = FT_GetQueueStatus(s_ft_handle, &available);
        if (status != FT_OK) {
            LogLine(port, "FT_GetQueueStatus failed with error: ", status);
            continue;
        }
        if (available == 1) {
            return FT_OK;
        }
        status = FT_OTHER_ERROR;
        // Also for an empty queue: the number of these lines tells how long the chip was silent.
        LogLine(port, "FT_GetQueueStatus error: not only one byte available for read! ", available);
        if (available > 1) {
            break;
        }
    }
    LogLine(port, "FT_GetQueueStatus error: Giving up with FT_GetQueueStatus - too many retries: ",
            available);
    return status;
}

} // namespace

FT_HANDLE s_ft_handle = nullptr;
BitPort s_highPort{high::kOutputs, kSetHighByte, kReadHighByte, 0, {}, nullptr};
BitPort s_lowPort{0, kSetLowByte, kReadLowByte, 0, {}, nullptr};

FT_STATUS ReadBits(BitPort& port) {
    std::uint32_t written = 0;
    FT_STATUS status = FT_Write(s_ft_handle, &port.readOpcode, 1, &written);
    if (status != FT_OK) {
        LogLine(port, "FT_Write failed with error: ", status);
        return status;
    }

    std::uint32_t available = 0;
    status = AwaitOneByte(port, available);
    if (status != FT_OK) {
        return status;
    }

    const std::uint8_t previous = port.value;
    std::uint32_t read = 0;
    status = FT_Read(s_ft_handle, &port.value, 1, &read);
    // Never entered, as exactly one byte waits here, and kept on purpose. A read that fails is
    // reported by the status alone; the dot or the dump below says that a poll took place.
    if (status != FT_OK && available != 1) {
        LogLine(port, "FT_Read failed with error: ", status);
        LogLine(port, "FT_Read error:  not only one byte read! ", read);
        return status;
    }

    if (port.value == previous) {
        LogAppend(port, ".");
    } else {
        LogLine(port, " >>> read bits:  ", Dump{port}, " 0x", Hex(port.value));
    }
    return status;
}

FT_STATUS WriteBits() {
    BitPort& port = s_highPort;
    std::array<std::uint8_t, 3> command{port.setOpcode, port.value, port.direction};
    std::uint32_t written = 0;
    const FT_STATUS status = FT_Write(s_ft_handle, command.data(), command.size(), &written);
    if (status != FT_OK) {
        LogAppend(port, "FT_Write failed with status:", status);
        return status;
    }

    platform::Sleep(kSettleMilliseconds);
    if (written != command.size()) {
        // A frozen text: always the number 1, and a line break inside.
        LogAppend(port, "FT_Write failed to write ", 1, " bytes.\n");
        return FT_OTHER_ERROR;
    }

    LogLine(port, " <<< write bits: ", Dump{port}, " 0x", Hex(port.value));
    return FT_OK;
}

int GetBitsValue(BitPort& port, std::uint8_t mask) {
    const auto allSet = [&] { return (port.value & mask) == mask ? 1 : 0; };

    FT_STATUS status = ReadBits(port);
    if (status == FT_OK) {
        return allSet();
    }
    LogLine(port, "ReadBits status: ", status);

    // A copy: configuring the chip replaces port.restore while it runs.
    if (const std::function<bool()> restore = port.restore; !restore()) {
        LogLine(port, "GetBitsValue: RestoreAvailability() failed");
        return -1;
    }

    status = ReadBits(port);
    LogLine(port, "ReadBits status (after restore): ", status);
    return status == FT_OK ? allSet() : -1;
}

bool SetPin(std::uint8_t mask) {
    BitPort& port = s_highPort;
    port.value |= mask;
    FT_STATUS status = WriteBits();
    if (status == FT_OK) {
        return true;
    }
    LogLine(port, " SetPin(): writeBits failed with status: ", status);

    if (const std::function<bool()> restore = port.restore; !restore()) {
        LogLine(port, " SetPin: RestoreAvailability() failed");
        return false;
    }

    // The mask is not applied again, on purpose: the chip came back with its lines at rest, and a
    // lost trigger must not be given late, when the host no longer expects it.
    status = WriteBits();
    LogLine(port, " WriteBits status (after restore): ", status);
    return status == FT_OK;
}

bool ClearPin(std::uint8_t mask) {
    s_highPort.value = static_cast<std::uint8_t>(s_highPort.value & ~mask);
    return WriteBits() == FT_OK;
}

bool TogglePin(int state) {
    switch (state) {
    case 1:
        return ClearPin(high::kDark);
    case 0:
        return SetPin(high::kDark);
    default:
        // A frozen text: the mask is logged as the byte 0x02, not as a digit.
        LogLine(s_highPort, " TogglePin: invalid state of bit ", static_cast<char>(high::kDark));
        return false;
    }
}

} // namespace SLV::Internal
