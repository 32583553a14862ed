/// The chip behind SolvaneUsb: its channels are opened, initialised, closed and recovered here.

#include <algorithm>
#include <array>

#include "bit_port.h"
#include "d2xx.h"
#include "device_finder.h"
#include "kernel.h"
#include "solvane_usb.h"

namespace SLV::Internal {

namespace {

constexpr std::uint32_t kReadTimeoutMilliseconds = 0; // none: a read asks only for what waits
constexpr std::uint32_t kWriteTimeoutMilliseconds = 5000;
constexpr std::uint8_t kLatencyMilliseconds = 1;
constexpr std::uint32_t kTransferBytes = 64;
/// The chip needs this long to enter MPSSE mode.
constexpr unsigned kModeChangeMilliseconds = 50;

constexpr int kReturnBudgetMilliseconds = 3000;
constexpr unsigned kReturnPollMilliseconds = 10;

/// As large as D2XX's receive queue can get.
std::array<std::uint8_t, 0x10000> discarded;

/// Discards what a former user of the channel left in its receive queue. Stops after a short read:
/// reads have no time-out, so one more might wait for ever.
void Drain(std::uint32_t waiting) {
    while (waiting > 0) {
        const auto piece = std::min(waiting, static_cast<std::uint32_t>(discarded.size()));
        std::uint32_t read = 0;
        if (FT_Read(s_ft_handle, discarded.data(), piece, &read) != FT_OK || read != piece) {
            return;
        }
        waiting -= piece;
    }
}

/// Performs every step, whatever the others return; the result is the OR of their statuses.
FT_STATUS InitialiseForMpsse() {
    FT_STATUS combined = FT_ResetDevice(s_ft_handle);

    std::uint32_t waiting = 0;
    combined |= FT_GetQueueStatus(s_ft_handle, &waiting);
    if (combined == FT_OK) {
        Drain(waiting);
    }

    combined |= FT_SetUSBParameters(s_ft_handle, kTransferBytes, kTransferBytes);
    combined |= FT_SetChars(s_ft_handle, 0, 0, 0, 0);
    combined |= FT_SetTimeouts(s_ft_handle, kReadTimeoutMilliseconds, kWriteTimeoutMilliseconds);
    combined |= FT_SetLatencyTimer(s_ft_handle, kLatencyMilliseconds);
    combined |= FT_SetFlowControl(s_ft_handle, FT_FLOW_RTS_CTS, 0, 0);
    combined |= FT_SetBitMode(s_ft_handle, 0, FT_BITMODE_RESET);
    combined |= FT_SetBitMode(s_ft_handle, 0, FT_BITMODE_MPSSE);
    return combined;
}

} // namespace

short SolvaneUsb::Configure() {
    const int index = FindDevice(logger, kLineChannel);
    if (index < 0) {
        return kNoHardware;
    }
    logger.Line("Open device #", index, "...");

    // The handle of a failed initialisation is overwritten and stays open, on purpose.
    FT_STATUS ftStatus = FT_Open(index, &s_ft_handle);
    if (ftStatus != FT_OK) {
        logger.Line("Open FTDI device failed with error: ", ftStatus);
        return kNoHardware;
    }
    ftStatus = InitialiseForMpsse();
    if (ftStatus != FT_OK) {
        logger.Line("FTDI chip initialization failed. Error: ", ftStatus);
        return kNoHardware;
    }
    platform::Sleep(kModeChangeMilliseconds);

    // The outputs start from the present levels of the lines, so that configuring causes no edge on
    // power or dark. A fault here shows in the first operation, which can recover from it.
    s_highPort.restore = [this] { return RestoreAvailability(); };
    ReadBits(s_highPort);
    s_highPort.value =
        static_cast<std::uint8_t>((s_highPort.value & ~high::kTrigger) | high::kClearMepRest);
    WriteBits();
    s_lowPort.restore = s_highPort.restore;
    ReadBits(s_lowPort);
    return kOk;
}

void SolvaneUsb::CloseFtdi() {
    if (s_ft_handle == nullptr) {
        return;
    }
    logger.Line("Closing device...");
    const FT_STATUS ftStatus = FT_Close(s_ft_handle);
    if (ftStatus != FT_OK) {
        logger.Line("Closing device failed. Error: ", ftStatus);
    }
    s_ft_handle = nullptr;
    status = kNoHardware;
}

void SolvaneUsb::ResetPortAndWait() {
    if (s_ft_handle == nullptr) {
        logger.Line("Broken logic: no opened device for port resetting!");
        return;
    }
    logger.Line("Resetting the port ...");
    const FT_STATUS ftStatus = FT_ResetPort(s_ft_handle);
    if (ftStatus != FT_OK) {
        logger.Line("Port resetting failed. Error: ", ftStatus);
        return;
    }
    CloseFtdi();

    for (int budget = kReturnBudgetMilliseconds; budget >= 1;
         budget -= static_cast<int>(kReturnPollMilliseconds)) {
        if (FindDevice(logger, kLineChannel) >= 0) {
            logger.Line("Device been restored after port resetting.");
            return;
        }
        logger.Line("Waiting for device...");
        platform::Sleep(kReturnPollMilliseconds);
    }
}

bool SolvaneUsb::RestoreAvailability() {
    ResetPortAndWait();
    status = kNoHardware;
    return CheckAvailable() == kOk;
}

short SolvaneUsb::ResetComPort() {
    const int index = FindDevice(logger, kSerialChannel);
    if (index < 0) {
        return kNoHardware;
    }
    logger.Line("Open COM device #", index, "...");

    FT_HANDLE channel = nullptr;
    FT_STATUS ftStatus = FT_Open(index, &channel);
    if (ftStatus != FT_OK) {
        logger.Line("Open COM device failed with error: ", ftStatus);
        return kWriteFailed;
    }
    logger.Line("COM device opened.");

    ftStatus = FT_ResetDevice(channel);
    if (ftStatus != FT_OK) {
        // The channel stays open: until this process ends, no other program gets a port whose reset
        // failed.
        logger.Line("Reset COM device failed with error: ", ftStatus);
        return kWriteFailed;
    }
    logger.Line("COM device was reset.");

    ftStatus = FT_Close(channel);
    if (ftStatus != FT_OK) {
        logger.Line("Close COM device failed with error: ", ftStatus);
        return kWriteFailed;
    }
    logger.Line("COM device been closed.");
    return kOk;
}

} // namespace SLV::Internal
