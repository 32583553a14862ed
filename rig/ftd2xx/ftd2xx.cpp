/// The functions of FTD2XX.dll.
#include "d2xx.h"

#include <algorithm>
#include <vector>

#include "d2xx_call.h"
#include "d2xx_status.h"

using rig::VendorCall;
using namespace rig::usb;

namespace {

/// How often a waiting read looks whether something has changed: bytes, or the plug.
constexpr std::uint64_t kReadSlice = rig::kNanosecondsPerMillisecond;

/// Reads up to `count` bytes, waiting for them as long as the channel's time-out says.
FT_STATUS ReadBytes(VendorCall& call, FT_HANDLE handle, std::size_t count,
                    std::vector<std::uint8_t>& bytes) {
    const rig::Timeline& timeline = call.rig->timeline;
    const std::uint64_t start = timeline.Now();
    FT_STATUS status = FT_OK;
    // Looked up anew after each wait: the chip may have left.
    while (Channel* channel = front.bus->Find(handle, status)) {
        const std::uint64_t timeout = channel->ReadTimeout() * rig::kNanosecondsPerMillisecond;
        const std::size_t visible = channel->received.Visible(timeline.Now());
        const bool isEnough = visible >= count;
        const bool isTimedOut = timeout != 0 && timeline.Now() - start >= timeout;
        const bool isHopeless = timeout == 0 && visible == channel->received.Size();
        if (isEnough || isTimedOut || isHopeless) {
            if (!isEnough && isHopeless) {
                call.rig->trace.Event("read would block for ever");
            }
            bytes = channel->received.Take(count, timeline.Now());
            return FT_OK;
        }
        call.rig.Wait(kReadSlice);
    }
    return status;
}

} // namespace

FT_STATUS FT_CALL FT_CreateDeviceInfoList(std::uint32_t* deviceCount) {
    const auto work = [&](VendorCall& call) {
        if (deviceCount == nullptr) {
            return kInvalidParameter;
        }
        front.bus->snapshot = front.bus->Nodes();
        *deviceCount = call.Count(static_cast<std::uint32_t>(front.bus->snapshot.size()));
        call.Output(Describe(*deviceCount));
        return FT_OK;
    };
    return Serve("FT_CreateDeviceInfoList", work);
}

FT_STATUS FT_CALL FT_GetDeviceInfoList(FT_DEVICE_LIST_INFO_NODE* nodes,
                                       std::uint32_t* deviceCount) {
    const std::uint32_t room = deviceCount != nullptr ? *deviceCount : 0;
    const auto work = [&](VendorCall& call) {
        if (nodes == nullptr || deviceCount == nullptr) {
            return kInvalidParameter;
        }
        const auto& snapshot = front.bus->snapshot;
        const auto copied = std::min(room, static_cast<std::uint32_t>(snapshot.size()));
        std::copy_n(snapshot.begin(), copied, nodes);
        *deviceCount = call.Count(copied);
        call.Output(Describe(*deviceCount));
        return FT_OK;
    };
    return Serve("FT_GetDeviceInfoList", work, room);
}

FT_STATUS FT_CALL FT_Open(int deviceIndex, FT_HANDLE* handle) {
    const auto work = [&](VendorCall&) {
        return handle != nullptr ? front.bus->Open(deviceIndex, *handle) : kInvalidParameter;
    };
    return Serve("FT_Open", work, deviceIndex);
}

FT_STATUS FT_CALL FT_Close(FT_HANDLE handle) {
    return Serve(
        "FT_Close", [&](VendorCall&) { return front.bus->Close(handle); }, handle);
}

FT_STATUS FT_CALL FT_Read(FT_HANDLE handle, void* buffer, std::uint32_t bytesToRead,
                          std::uint32_t* bytesReturned) {
    const auto work = [&](VendorCall& call, Channel&) {
        if ((buffer == nullptr && bytesToRead != 0) || bytesReturned == nullptr) {
            return kInvalidParameter;
        }
        std::vector<std::uint8_t> bytes;
        const std::uint32_t count = std::min(call.Count(bytesToRead), bytesToRead);
        const FT_STATUS status = ReadBytes(call, handle, count, bytes);
        if (status == FT_OK) {
            std::copy(bytes.begin(), bytes.end(), static_cast<std::uint8_t*>(buffer));
            *bytesReturned = static_cast<std::uint32_t>(bytes.size());
            call.Output(Describe(Bytes(bytes)));
        }
        return status;
    };
    return ServeChannel("FT_Read", handle, work, bytesToRead);
}

FT_STATUS FT_CALL FT_Write(FT_HANDLE handle, void* buffer, std::uint32_t bytesToWrite,
                           std::uint32_t* bytesWritten) {
    const Bytes bytes = BytesAt(buffer, bytesToWrite);
    const auto work = [&](VendorCall& call, Channel& channel) {
        if (bytes.size() != bytesToWrite || bytesWritten == nullptr) {
            return kInvalidParameter;
        }
        const std::uint32_t count = call.Count(bytesToWrite);
        channel.Write(bytes.first(std::min(count, bytesToWrite)));
        *bytesWritten = count;
        call.Output(Describe(count));
        return FT_OK;
    };
    return ServeChannel("FT_Write", handle, work, bytes);
}

FT_STATUS FT_CALL FT_GetQueueStatus(FT_HANDLE handle, std::uint32_t* bytesInReceiveQueue) {
    const auto work = [&](VendorCall& call, Channel& channel) {
        if (bytesInReceiveQueue == nullptr) {
            return kInvalidParameter;
        }
        const std::size_t visible = channel.received.Visible(call.rig->timeline.Now());
        *bytesInReceiveQueue = call.Count(static_cast<std::uint32_t>(visible));
        call.Output(Describe(*bytesInReceiveQueue));
        return FT_OK;
    };
    return ServeChannel("FT_GetQueueStatus", handle, work);
}

FT_STATUS FT_CALL FT_ResetDevice(FT_HANDLE handle) {
    const auto work = [](VendorCall&, Channel& channel) {
        channel.received.Clear();
        return FT_OK;
    };
    return ServeChannel("FT_ResetDevice", handle, work);
}

FT_STATUS FT_CALL FT_ResetPort(FT_HANDLE handle) {
    return Serve(
        "FT_ResetPort", [&](VendorCall&) { return front.bus->ResetPort(handle); }, handle);
}

FT_STATUS FT_CALL FT_SetBitMode(FT_HANDLE handle, std::uint8_t mask, std::uint8_t mode) {
    const auto work = [&](VendorCall&, Channel& channel) {
        if (mode == FT_BITMODE_RESET) {
            channel.Enter(Channel::Mode::Uart);
        } else if (mode == FT_BITMODE_MPSSE && channel.hasMpsse) {
            channel.Enter(Channel::Mode::Mpsse);
        } else {
            return FT_OTHER_ERROR;
        }
        return FT_OK;
    };
    return ServeChannel("FT_SetBitMode", handle, work, mask, mode);
}

FT_STATUS FT_CALL FT_SetLatencyTimer(FT_HANDLE handle, std::uint8_t latency) {
    const auto work = [&](VendorCall&, Channel& channel) {
        channel.SetLatency(latency);
        return FT_OK;
    };
    return ServeChannel("FT_SetLatencyTimer", handle, work, latency);
}

FT_STATUS FT_CALL FT_SetTimeouts(FT_HANDLE handle, std::uint32_t readTimeout,
                                 std::uint32_t writeTimeout) {
    const auto work = [&](VendorCall&, Channel& channel) {
        channel.SetReadTimeout(readTimeout);
        return FT_OK;
    };
    return ServeChannel("FT_SetTimeouts", handle, work, readTimeout, writeTimeout);
}

// What the three functions below set up has no effect on the lines: they succeed on any channel.

FT_STATUS FT_CALL FT_SetFlowControl(FT_HANDLE handle, std::uint16_t flowControl, std::uint8_t xOn,
                                    std::uint8_t xOff) {
    const auto work = [](VendorCall&, Channel&) { return FT_OK; };
    return ServeChannel("FT_SetFlowControl", handle, work, Hex{flowControl}, xOn, xOff);
}

FT_STATUS FT_CALL FT_SetChars(FT_HANDLE handle, std::uint8_t eventCharacter,
                              std::uint8_t eventEnabled, std::uint8_t errorCharacter,
                              std::uint8_t errorEnabled) {
    const auto work = [](VendorCall&, Channel&) { return FT_OK; };
    return ServeChannel("FT_SetChars", handle, work, eventCharacter, eventEnabled, errorCharacter,
                        errorEnabled);
}

FT_STATUS FT_CALL FT_SetUSBParameters(FT_HANDLE handle, std::uint32_t inTransferSize,
                                      std::uint32_t outTransferSize) {
    const auto work = [](VendorCall&, Channel&) { return FT_OK; };
    return ServeChannel("FT_SetUSBParameters", handle, work, inTransferSize, outTransferSize);
}
