/// The functions of FTD2XX.dll.
#include "d2xx.h"

#include <algorithm>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "c_function.h"
#include "d2xx_status.h"
#include "rig_state.h"
#include "stand_in.h"
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

/// The channel of a handle. It exists, because Refusal() has checked the handle.
template <>
Channel& rig::Argument<Channel&>(const Value& handle, Value&) {
    FT_STATUS status = FT_OK;
    return *bus->Find(HandleIn(Number(handle)), status);
}

namespace {

/// How often a waiting read checks for new bytes or an unplugged chip.
constexpr std::uint64_t kReadSlice = rig::kNanosecondsPerMillisecond;

/// Reads up to `count` bytes and waits for them until the channel's read time-out.
FT_STATUS ReadBytes(FT_HANDLE handle, std::size_t count, std::vector<std::uint8_t>& bytes) {
    rig::Rig& rig = rig::Rig::Instance();
    const std::uint64_t start = rig.timeline.Now();
    FT_STATUS status = FT_OK;
    // Looked up again after each wait, as the chip may have been unplugged.
    while (Channel* channel = bus->Find(handle, status)) {
        const std::uint64_t timeout = channel->ReadTimeout() * rig::kNanosecondsPerMillisecond;
        const std::size_t visible = channel->Visible();
        const bool isEnough = visible >= count;
        const bool isTimedOut = timeout != 0 && rig.timeline.Now() - start >= timeout;
        const bool isHopeless =
            timeout == 0 && (visible == channel->received.Size() || channel->IsStopped());
        if (isEnough || isTimedOut || isHopeless) {
            if (!isEnough && isHopeless) {
                rig.trace.Event("read would block for ever");
            }
            bytes = channel->Take(count);
            return FT_OK;
        }
        rig.Wait(kReadSlice);
    }
    return status;
}

/// What identifies a device in a list: its serial number, description or location.
Value Identity(const FT_DEVICE_LIST_INFO_NODE& node, std::uint32_t by) {
    switch (by) {
    case kByLocation:
        return std::uint64_t{node.LocId};
    case kByDescription:
        return std::string(node.Description);
    default:
        return std::string(node.SerialNumber);
    }
}

/// The same for all devices: texts, or the locations as consecutive numbers.
Value Identities(const std::vector<FT_DEVICE_LIST_INFO_NODE>& nodes, std::uint32_t by) {
    std::string places;
    rig::Texts texts;
    for (const auto& node : nodes) {
        if (by == kByLocation) {
            places.append(reinterpret_cast<const char*>(&node.LocId), sizeof node.LocId);
        } else {
            texts.push_back(std::get<std::string>(Identity(node, by)));
        }
    }
    return by == kByLocation ? Value(places) : Value(texts);
}

/// The work of each vendor function, under its name and with its parameters.
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

FT_STATUS FT_GetDeviceInfoDetail(std::uint32_t index, Value& flags, Value& type, Value& id,
                                 Value& location, Value& serial, Value& description,
                                 Value& handle) {
    if (index >= bus->Snapshot().size()) {
        return kDeviceNotFound;
    }
    const FT_DEVICE_LIST_INFO_NODE& node = bus->Snapshot()[index];
    flags = std::uint64_t{node.Flags};
    type = std::uint64_t{node.Type};
    id = std::uint64_t{node.ID};
    location = std::uint64_t{node.LocId};
    serial = std::string(node.SerialNumber);
    description = std::string(node.Description);
    handle = rig::AsNumber(node.ftHandle);
    return FT_OK;
}

void FT_GetDeviceInfo(FT_HANDLE handle, Value& type, Value& id, Value& serial, Value& description) {
    const FT_DEVICE_LIST_INFO_NODE node = bus->NodeOf(handle);
    type = std::uint64_t{node.Type};
    id = std::uint64_t{node.ID};
    serial = std::string(node.SerialNumber);
    description = std::string(node.Description);
}

/// The flags decide whether the first two parameters are inputs or outputs.
FT_STATUS FT_ListDevices(Value& first, Value& second, std::uint32_t flags) {
    const std::uint64_t one = rig::Number(std::exchange(first, {}));
    const std::uint64_t other = rig::Number(std::exchange(second, {}));
    const std::uint32_t by = flags & (kBySerialNumber | kByDescription | kByLocation);
    const auto nodes = bus->PresentNodes();
    const bool isOne = (flags & kListByIndex) != 0;
    if ((flags & kListNumberOnly) != 0 && one != 0) {
        first = nodes.size();
    } else if (isOne && other != 0 && one >= nodes.size()) {
        return kDeviceNotFound;
    } else if (isOne && other != 0) {
        second = Identity(nodes[one], by);
    } else if ((flags & kListAll) != 0 && one != 0 && other != 0) {
        first = Identities(nodes, by);
        second = nodes.size();
    } else {
        return kInvalidParameter;
    }
    return FT_OK;
}

FT_STATUS FT_Open(int index, Value& handle) {
    FT_HANDLE opened = nullptr;
    const FT_STATUS status = bus->Open(index, opened);
    if (status == FT_OK) {
        handle = rig::AsNumber(opened);
    }
    return status;
}

FT_STATUS FT_OpenEx(const Value& which, std::uint32_t by, Value& handle) {
    if (by != kBySerialNumber && by != kByDescription && by != kByLocation) {
        return kInvalidParameter;
    }
    const auto nodes = bus->PresentNodes();
    const auto found = std::find_if(nodes.begin(), nodes.end(),
                                    [&](const auto& node) { return Identity(node, by) == which; });
    return FT_Open(static_cast<int>(found - nodes.begin()), handle); // if not found, FT_Open fails
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

void FT_GetQueueStatusEx(Channel& channel, Value& bytes) {
    FT_GetQueueStatus(channel, bytes);
}

/// Nothing waits to be sent, as writes take effect at once, and no events are reported.
void FT_GetStatus(Channel& channel, Value& received, Value& sent, Value& events) {
    received = channel.Visible();
    sent = std::uint64_t{0};
    events = std::uint64_t{0};
}

void FT_ResetDevice(Channel& channel) {
    channel.received.Clear();
}

FT_STATUS FT_Purge(Channel& channel, std::uint32_t queues) {
    constexpr std::uint32_t kReceived = 1;
    constexpr std::uint32_t kSent = 2;
    if ((queues & kReceived) != 0) {
        channel.received.Clear();
    }
    return (queues & (kReceived | kSent)) != 0 ? FT_OK : kInvalidParameter;
}

void FT_StopInTask(Channel& channel) {
    channel.Stop();
}

void FT_RestartInTask(Channel& channel) {
    channel.GoOn();
}

FT_STATUS FT_ResetPort(FT_HANDLE handle) {
    return bus->ResetPort(handle);
}

/// To a host this looks as FT_ResetPort does: the chip is unplugged and plugged in again.
FT_STATUS FT_CyclePort(FT_HANDLE handle) {
    return bus->ResetPort(handle);
}

void FT_Reload(std::uint16_t vendor, std::uint16_t product) {
    bus->Reload(std::uint32_t{vendor} << 16 | product);
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

/// The current levels of the data pins, in every mode.
void FT_GetBitMode(Channel& channel, Value& pins) {
    pins = std::uint64_t{channel.DataPins()};
}

/// The modem inputs are on the data pins, active low.
void FT_GetModemStatus(Channel& channel, Value& lines) {
    constexpr unsigned kCts = 0x10;
    constexpr unsigned kDsr = 0x20;
    constexpr unsigned kRi = 0x40;
    constexpr unsigned kDcd = 0x80;
    const unsigned pins = channel.DataPins();
    const auto lineAt = [=](unsigned pin, unsigned line) {
        return (pins >> pin & 1) == 0 ? line : 0;
    };
    lines = std::uint64_t{lineAt(3, kCts) | lineAt(5, kDsr) | lineAt(6, kDcd) | lineAt(7, kRi)};
}

FT_STATUS FT_SetBaudRate(Channel& channel, std::uint32_t rate) {
    constexpr std::uint32_t kLeast = 184; // 3 MHz by 16384
    return rate >= kLeast && rate <= channel.mostBaud ? FT_OK : kInvalidBaudRate;
}

FT_STATUS FT_SetDataCharacteristics(Channel&, std::uint8_t bits, std::uint8_t stopBits,
                                    std::uint8_t parity) {
    constexpr std::uint8_t kTwoStopBits = 2;
    constexpr std::uint8_t kLastParity = 4; // FT_PARITY_SPACE
    const bool isKnown = (bits == 7 || bits == 8) && (stopBits == 0 || stopBits == kTwoStopBits);
    return isKnown && parity <= kLastParity ? FT_OK : kInvalidParameter;
}

void FT_GetLatencyTimer(Channel& channel, Value& latency) {
    latency = std::uint64_t{channel.Latency()};
}

void FT_SetLatencyTimer(Channel& channel, std::uint8_t latency) {
    channel.SetLatency(latency);
}

void FT_SetTimeouts(Channel& channel, std::uint32_t readTimeout) {
    channel.SetReadTimeout(readTimeout);
}

/// Reports that there is no COM port: the rig simulates none.
void FT_GetComPortNumber(Channel&, Value& port) {
    port = ~std::uint64_t{0}; // -1
}

// Major, minor and build, each in two decimal digits: 2.12.36 and 3.02.16.
void FT_GetDriverVersion(Channel&, Value& version) {
    version = std::uint64_t{0x02'12'36};
}
void FT_GetLibraryVersion(Value& version) {
    version = std::uint64_t{0x03'02'16};
}

// These settings have no effect on the lines, so they always succeed.
void FT_SetFlowControl(Channel&) {}
void FT_SetChars(Channel&) {}
void FT_SetUSBParameters(Channel&) {}
void FT_SetDivisor(Channel&) {}
void FT_SetDtr(Channel&) {}
void FT_ClrDtr(Channel&) {}
void FT_SetRts(Channel&) {}
void FT_ClrRts(Channel&) {}
void FT_SetBreakOn(Channel&) {}
void FT_SetBreakOff(Channel&) {}
void FT_SetResetPipeRetryCount(Channel&) {}
void FT_SetDeadmanTimeout(Channel&) {}

// Nothing to do: chips are seen as soon as they are plugged in, and the library needs no setup.
void FT_Rescan() {}
void FT_Initialise() {}
void FT_Finalise() {}

} // namespace work

/// Refuses a handle that is not open or whose chip is gone. FT_Close may still close the latter.
std::uint32_t Refusal(const Call& call) {
    FT_STATUS status = FT_OK;
    const auto& parameters = call.function.parameters;
    const bool isOnHandle = !parameters.empty() && parameters.front().in == rig::Show::Handle;
    if (isOnHandle && call.function.id != Function::FT_Close) {
        bus->Find(HandleIn(rig::Number(call.inputs.front())), status);
    }
    return status;
}

const rig::Linked standIn({
    .library = rig::kFtd2xx,
    .works =
        {
#define D2XX(name, ...) {Function::name, [](Call& call) { return Do(work::name, call); }},
#define D2XX_REFUSED(name, ordinal, result, answer) {Function::name, [](Call&) { return answer; }},
#include "vendor_functions.inc"
        },
    .build = [](const auto& scenario, const auto& around) { bus.emplace(scenario.usb, around); },
    .refusal = Refusal,
    .nameOf = [](std::uint64_t handle) { return bus->NameOf(HandleIn(handle)); },
    .release = [](rig::HostNumber host) { bus->Release(host); },
    .setPlugged = [](unsigned chip, bool plugged) { bus->SetPlugged(chip, plugged); },
    .setAsleep = [](bool asleep) { bus->SetAsleep(asleep); },
    .describe = [](auto& equipment) { bus->Describe(equipment); },
});

} // namespace

extern "C" {
#define D2XX(name, ordinal, parameters, failureModes)                                              \
    VENDOR_C_FUNCTION(FT_CALL, name, Number, parameters)
#define D2XX_REFUSED(name, ordinal, result, answer) VENDOR_C_FUNCTION(FT_CALL, name, result, ())
#include "vendor_functions.inc"
}
