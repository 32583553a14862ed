/// SolvaneUsb on a D2XX library with arbitrary device lists, counts, bytes and statuses.

#include <algorithm>
#include <cstring>
#include <map>
#include <memory>
#include <utility>
#include <vector>

#include <solvane/rig.h>

#include "bit_port.h"
#include "fuzz_check.h"
#include "fuzzed_calls.h"
#include "host_operations.h"
#include "host_platform.h"
#include "solvane_usb.h"
#include "watched_log.h"

namespace {

using namespace fuzz;
using namespace SLV::Internal;
using rig::Function;
using rig::Number;
using Node = FT_DEVICE_LIST_INFO_NODE;

constexpr unsigned kGate = MAY_FIND_NOTHING;
constexpr int kMostOperations = 24;

/// Values of an input byte, beyond those that select an operation.
constexpr std::size_t kNewController = 17;
constexpr std::size_t kListen = 18;
constexpr std::size_t kChoices = 19;
constexpr std::uint8_t kWithoutPointer = 0x80;

/// An open channel.
struct Channel {
    bool isConfigured = false;
    bool isExcused = false; ///< may stay open: its initialisation or the port reset failed
};

/// What a controller did since the last check.
struct Seen {
    unsigned readBytes = 0;  ///< successful FT_Read() calls
    unsigned writes = 0;     ///< attempts to set the lines
    unsigned triggers = 0;   ///< those with the trigger line high
    unsigned lostWrites = 0; ///< reported as complete, yet the trigger line is not as written
};

/// The vendor calls of one input, as seen by the driver.
struct Observation {
    std::uint64_t counted = 0; ///< number of devices that the library was given last
    std::string listed;        ///< the device list that it was given last
    std::map<std::uint64_t, Channel> open;
    Seen seen;
} observed;

bool IsSuccess(const rig::Call& call) {
    return call.status == FT_OK;
}

std::uint64_t Out(const rig::Call& call, std::size_t i, std::uint64_t otherwise = 0) {
    return rig::IsThere(call.outputs[i]) ? Number(call.outputs[i]) : otherwise;
}

void CheckOpen(std::uint64_t index) {
    Check(index < observed.listed.size() / sizeof(Node), "a device of the list is opened");
    Node node;
    std::memcpy(&node, observed.listed.data() + index * sizeof node, sizeof node);
    const std::size_t length = strnlen(node.SerialNumber, sizeof node.SerialNumber);
    Check(node.ID == 0x0403'6010 && node.Type == FT_DEVICE_2232H && length > 0 &&
              std::strchr("ABab", node.SerialNumber[length - 1]) != nullptr,
          "a channel of an FT2232H is opened");
}

/// The library may write only two commands: read a byte of pins, or set the high byte.
void CheckCommand(const std::string& command) {
    if (command.size() == 1) {
        Check(command == "\x81" || command == "\x83", "a command of one byte asks");
        return;
    }
    Check(command.size() == 3 && command[0] == '\x82' && command[2] == '\x4F',
          "a command of three bytes sets the high byte and its directions");
    ++observed.seen.writes;
    observed.seen.triggers += command[1] & 1;
}

void BeforeCall(const rig::Call& call) {
    const auto& in = call.inputs;
    switch (call.function.id) {
    case Function::FT_CreateDeviceInfoList:
        return;
    case Function::FT_GetDeviceInfoList:
        Check(Number(in[1]) == observed.counted, "the list has room for what was counted");
        Check(Number(in[1]) <= 4096, "no memory is asked for on behalf of a senseless count");
        return;
    case Function::FT_Open:
        CheckOpen(Number(in[0]));
        return;
    case Function::FT_Write:
        CheckCommand(std::get<std::string>(in[1]));
        break;
    case Function::FT_SetBitMode:
        Check(Number(in[1]) == 0 &&
                  (Number(in[2]) == FT_BITMODE_RESET || Number(in[2]) == FT_BITMODE_MPSSE),
              "a bit mode");
        break;
    default:
        break;
    }
    // The library uses the null handle after it lost the chip in the middle of an operation.
    Check(Number(in[0]) == 0 || observed.open.contains(Number(in[0])),
          "a call has an open handle or none");
}

void RememberList(const rig::Call& call) {
    observed.listed.clear();
    if (IsSuccess(call) && rig::IsThere(call.outputs[0])) {
        const std::uint64_t room = Number(call.inputs[1]);
        observed.listed = std::get<std::string>(call.outputs[0]);
        observed.listed.resize(std::min<std::uint64_t>(
            observed.listed.size(), sizeof(Node) * std::min(room, Out(call, 1, room))));
    }
}

void AfterWrite(const rig::Call& call) {
    const auto& command = std::get<std::string>(call.inputs[1]);
    const bool isReportedComplete = IsSuccess(call) && Out(call, 3) == command.size();
    if (command.size() == 3 && isReportedComplete) {
        observed.seen.lostWrites += (command[1] & 1) != rig_level(RIG_TRIGGER) ? 1 : 0;
    }
}

/// For calls on an open channel.
void AfterCallOn(Channel& channel, const rig::Call& call) {
    switch (call.function.id) {
    case Function::FT_Read:
        observed.seen.readBytes += IsSuccess(call) ? 1 : 0;
        break;
    case Function::FT_Write:
        AfterWrite(call);
        break;
    case Function::FT_Close: // the handle is gone whatever the status
        observed.open.erase(Number(call.inputs[0]));
        break;
    case Function::FT_GetQueueStatus:
        channel.isExcused |= !IsSuccess(call) && !channel.isConfigured;
        break;
    default:
        channel.isExcused |= !IsSuccess(call);
        channel.isConfigured |= call.function.id == Function::FT_SetBitMode &&
                                Number(call.inputs[2]) == FT_BITMODE_MPSSE;
        break;
    }
}

void AfterCall(const rig::Call& call) {
    switch (call.function.id) {
    case Function::FT_CreateDeviceInfoList:
        observed.counted = Out(call, 0);
        break;
    case Function::FT_GetDeviceInfoList:
        RememberList(call);
        break;
    case Function::FT_Open:
        if (const std::uint64_t handle = Out(call, 1); handle != 0) {
            observed.open[handle] = {.isExcused = !IsSuccess(call)};
        }
        break;
    default:
        if (const auto found = observed.open.find(Number(call.inputs[0]));
            found != observed.open.end()) {
            AfterCallOn(found->second, call);
        }
        break;
    }
}

/// As at the start of a process; the input sets the levels of the camera's lines.
void Begin(Input& input) {
    s_ft_handle = nullptr;
    s_highPort = {high::kOutputs, 0x82, 0x83, 0, {}, nullptr};
    s_lowPort = {0, 0x80, 0x81, 0, {}, nullptr};
    observed = {};
    rig_load(nullptr);
    const std::uint8_t lines = input.Byte();
    rig_force(RIG_READY, lines & 1);
    rig_force(RIG_MEP, lines >> 1 & 1);
    calls::Begin(input, BeforeCall, AfterCall);
}

/// Whether a handle left open by a failed start, or an unread byte, prevents a normal start.
bool IsInTheWay() {
    constexpr std::size_t kChannelB = 1;
    std::uint32_t count = 0;
    FT_CreateDeviceInfoList(&count);
    std::vector<Node> nodes(count);
    FT_GetDeviceInfoList(nodes.data(), &count);
    const FT_HANDLE handle = nodes.size() > kChannelB ? nodes[kChannelB].ftHandle : nullptr;
    if (handle == nullptr || handle != s_ft_handle) {
        return handle != s_ft_handle;
    }
    FT_GetQueueStatus(handle, &count);
    return count != 0 || observed.open.at(rig::AsNumber(handle)).isExcused;
}

/// Makes everything work, if necessary by replugging the chip.
void Heal() {
    calls::Heal();
    host::Advance(1'000'000'000); // long enough for a chip to return from its reset
    if (IsInTheWay()) {
        rig_unplug(0);
        rig_plug(0);
    }
}

void CheckLines(const Outcome& outcome, const Seen& seen) {
    Check(outcome.status != kNoHardware || seen.writes == 0, "the gate touches no line");
    if (outcome.operation->op == Op::TriggerCapture) {
        Check(outcome.status != kNotReady || seen.triggers == 0,
              "a camera that is not ready is not triggered");
        Check(outcome.status != kOk || rig_level(RIG_TRIGGER) == 0 || seen.lostWrites > 0,
              "a trigger is a pulse");
    }
    if (outcome.isAnswered && seen.readBytes == 0) {
        Check(outcome.answer == Unreadable(*outcome.operation),
              "a line that cannot be read is inactive, and power is on");
    }
}

void Use(SolvaneUsb& usb, std::uint8_t choice) {
    observed.seen = {};
    const Outcome outcome = Perform(usb, choice % kChoices, (choice & kWithoutPointer) != 0, kGate);
    CheckLines(outcome, observed.seen);
}

/// Checks that the library serves a chip that works again.
void CheckRecovery(SolvaneUsb& usb) {
    Heal();
    short ready = -1;
    Check(usb.CheckSystemReady(&ready) == kOk, "a chip that works again is found");
    Check(ready == rig_level(RIG_READY), "a chip that works again is read");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    host::Record(false);
    Input input(bytes, size);
    WatchedLog log;
    Begin(input);
    auto usb = std::make_unique<SolvaneUsb>(s_logger);
    for (int i = 0; i < kMostOperations && !input.IsEmpty(); ++i) {
        const std::uint8_t choice = input.Byte();
        switch (choice % kChoices) {
        case kNewController:
            usb = nullptr;
            Check(s_ft_handle == nullptr, "a controller that goes closes the chip");
            usb = std::make_unique<SolvaneUsb>(s_logger);
            break;
        case kListen:
            log.Listen((choice & kWithoutPointer) == 0);
            break;
        default:
            Use(*usb, choice);
        }
    }
    CheckRecovery(*usb);
    usb = nullptr;
    Check(s_ft_handle == nullptr, "a controller that goes closes the chip");
    Check(std::ranges::all_of(observed.open,
                              [](const auto& entry) { return entry.second.isExcused; }),
          "handles are closed");
    return 0;
}
