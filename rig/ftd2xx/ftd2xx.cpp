/// The functions of FTD2XX.dll.
#include "d2xx.h"

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "c_function.h"
#include "d2xx_status.h"
#include "front.h"
#include "rig_state.h"
#include "usb_bus.h"

using rig::Call;
using rig::Function;
using rig::Value;
using namespace rig::usb;

namespace {

std::optional<UsbBus> bus;

FT_HANDLE HandleIn(std::uint64_t number) {
    return reinterpret_cast<FT_HANDLE>(static_cast<std::uintptr_t>(number));
}

} // namespace

template <>
FT_HANDLE rig::Argument<FT_HANDLE>(const Value& handle, Value&) {
    return HandleIn(Number(handle));
}

/// The channel that a handle stands for; there is one, or the call was refused.
template <>
Channel& rig::Argument<Channel&>(const Value& handle, Value&) {
    FT_STATUS status = FT_OK;
    return *bus->Find(HandleIn(Number(handle)), status);
}

namespace {

/// How often a waiting read looks whether something has changed: bytes, or the plug.
constexpr std::uint64_t kReadSlice = rig::kNanosecondsPerMillisecond;

/// Reads up to `count` bytes, waiting for them as long as the channel's time-out says.
FT_STATUS ReadBytes(FT_HANDLE handle, std::size_t count, std::vector<std::uint8_t>& bytes) {
    rig::Rig& rig = rig::Rig::Instance();
    const std::uint64_t start = rig.timeline.Now();
    FT_STATUS status = FT_OK;
    // Looked up anew after each wait: the chip may have left.
    while (Channel* channel = bus->Find(handle, status)) {
        const std::uint64_t timeout = channel->ReadTimeout() * rig::kNanosecondsPerMillisecond;
        const std::size_t visible = channel->Visible();
        const bool isEnough = visible >= count;
        const bool isTimedOut = timeout != 0 && rig.timeline.Now() - start >= timeout;
        const bool isHopeless = timeout == 0 && visible == channel->received.Size();
        if (isEnough || isTimedOut || isHopeless) {
            if (!isEnough && isHopeless) {
                rig.trace.Event("read would block for ever");
            }
            bytes = channel->received.Take(count, rig.timeline.Now());
            return FT_OK;
        }
        rig.Wait(kReadSlice);
    }
    return status;
}

/// What each function does, by its name: a parameter stands for a parameter of the function.
namespace work {

void FT_CreateDeviceInfoList(Value& count) {
    count = bus->TakeSnapshot().size();
}

void FT_GetDeviceInfoList(Value& nodes, Value& count) {
    const auto& snapshot = bus->Snapshot();
    const std::size_t copied = std::min<std::size_t>(rig::Number(count), snapshot.size());
    nodes = std::string(reinterpret_cast<const char*>(snapshot.data()),
                        copied * sizeof(FT_DEVICE_LIST_INFO_NODE));
    count = copied;
}

FT_STATUS FT_Open(int index, Value& handle) {
    FT_HANDLE opened = nullptr;
    const FT_STATUS status = bus->Open(index, opened);
    if (status == FT_OK) {
        handle = rig::AsNumber(opened);
    }
    return status;
}

FT_STATUS FT_Close(FT_HANDLE handle) {
    return bus->Close(handle);
}

FT_STATUS FT_Read(FT_HANDLE handle, Value& bytes, std::uint32_t count, Value& size) {
    std::vector<std::uint8_t> read;
    const FT_STATUS status = ReadBytes(handle, count, read);
    if (status == FT_OK) {
        bytes = std::string(read.begin(), read.end());
        size = read.size();
    }
    return status;
}

void FT_Write(Channel& channel, rig::Bytes bytes, std::uint32_t, Value& written) {
    channel.Write(bytes);
    written = bytes.size();
}

void FT_GetQueueStatus(Channel& channel, Value& bytes) {
    bytes = channel.Visible();
}

void FT_ResetDevice(Channel& channel) {
    channel.received.Clear();
}

FT_STATUS FT_ResetPort(FT_HANDLE handle) {
    return bus->ResetPort(handle);
}

FT_STATUS FT_SetBitMode(Channel& channel, std::uint8_t, std::uint8_t mode) {
    if (mode == FT_BITMODE_RESET) {
        channel.Enter(Channel::Mode::Uart);
    } else if (mode == FT_BITMODE_MPSSE && channel.hasMpsse) {
        channel.Enter(Channel::Mode::Mpsse);
    } else {
        return FT_OTHER_ERROR;
    }
    return FT_OK;
}

void FT_SetLatencyTimer(Channel& channel, std::uint8_t latency) {
    channel.SetLatency(latency);
}

void FT_SetTimeouts(Channel& channel, std::uint32_t readTimeout) {
    channel.SetReadTimeout(readTimeout);
}

// What these set up has no effect on the lines: they succeed on any channel.
void FT_SetFlowControl(Channel&) {}
void FT_SetChars(Channel&) {}
void FT_SetUSBParameters(Channel&) {}

} // namespace work

/// Of a handle that is not open, or whose chip has left; which can still be closed.
std::uint32_t Refusal(const Call& call) {
    FT_STATUS status = FT_OK;
    const auto& parameters = call.function.parameters;
    const bool isOnHandle = !parameters.empty() && parameters.front().in == rig::Show::Handle;
    if (isOnHandle && call.function.id != Function::FT_Close) {
        bus->Find(HandleIn(rig::Number(call.inputs.front())), status);
    }
    return status;
}

const rig::Linked front({
    .library = rig::kFtd2xx,
    .works =
        {
#define D2XX(name, ...) {Function::name, [](Call& call) { return Do(work::name, call); }},
#include "vendor_functions.inc"
        },
    .build = [](const auto& scenario, const auto& around) { bus.emplace(scenario.usb, around); },
    .refusal = Refusal,
    .nameOf = [](std::uint64_t handle) { return bus->NameOf(HandleIn(handle)); },
    .release = [](rig::HostNumber host) { bus->Release(host); },
    .setPlugged = [](unsigned chip, bool plugged) { bus->SetPlugged(chip, plugged); },
});

} // namespace

extern "C" {
#define D2XX(name, ordinal, parameters, ways) VENDOR_C_FUNCTION(FT_CALL, name, Number, parameters)
#include "vendor_functions.inc"
}
