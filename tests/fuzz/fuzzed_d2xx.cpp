#include "fuzzed_d2xx.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <optional>
#include <utility>
#include <vector>

#include "answer_plan.h"
#include "d2xx.h"
#include "fuzz_check.h"

namespace fuzz::d2xx {

namespace {

constexpr FT_STATUS kInvalidHandle = 1;
constexpr FT_STATUS kIoError = 4;
constexpr std::uint32_t kFt2232hId = 0x0403'6010;
constexpr std::uint32_t kMostNodes = 4096; ///< of a list that is worth the memory

using Node = FT_DEVICE_LIST_INFO_NODE;

struct Channel {
    bool isConfigured = false;
    bool isExcused = false;
};

struct Library {
    explicit Library(Input& bytes) : input(bytes), plan(bytes) {}

    Input& input;
    AnswerPlan plan;
    Seen seen;

    std::vector<Node> nodes;
    std::uint32_t reported = 0; ///< the count that the caller was told last
    bool hadLargeList = false;

    std::map<std::uintptr_t, Channel> open;
    std::uintptr_t nextHandle = 0x1000;

    std::vector<std::uint8_t> queue;
    std::uint8_t inputs = 0;  ///< of the high byte
    std::uint8_t lowPins = 0; ///< of the low byte
    std::uint8_t output = 0;
};

std::optional<Library> library;

template <std::size_t Size>
void Fill(char (&field)[Size], const std::string& text) {
    std::copy_n(text.begin(), std::min(text.size(), Size), field);
}

Node ChannelNode(const std::string& serial) {
    Node node{};
    node.Flags = 2;
    node.Type = FT_DEVICE_2232H;
    node.ID = kFt2232hId;
    Fill(node.SerialNumber, serial);
    Fill(node.Description, "Dual RS232-HS");
    return node;
}

Node NodeFromInput(Input& input) {
    switch (input.Byte() % 5) {
    case 0:
        return ChannelNode("SLV1B");
    case 1:
        return ChannelNode("SLV1a");
    case 2: // a serial number of any kind, with or without an end
        return ChannelNode(input.Bytes(sizeof Node::SerialNumber));
    case 3: { // the right name on the wrong chip
        Node node = ChannelNode("SLV1B");
        node.Type = input.Byte();
        node.ID = input.DoubleWord();
        return node;
    }
    default: {
        const std::string bytes = input.Bytes(sizeof(Node));
        Node node{};
        std::memcpy(&node, bytes.data(), bytes.size());
        return node;
    }
    }
}

void ListHealthyChip() {
    library->nodes = {ChannelNode("SLV1A"), ChannelNode("SLV1B")};
}

/// The channel behind a handle; null for the null handle, which is what a chip has that was lost in
/// the middle of an operation.
Channel* Find(FT_HANDLE handle) {
    const auto found = library->open.find(reinterpret_cast<std::uintptr_t>(handle));
    if (found != library->open.end()) {
        return &found->second;
    }
    Check(handle == nullptr, "a call has an open handle or none");
    return nullptr;
}

/// Any status but success.
FT_STATUS OddStatus() {
    return std::max<FT_STATUS>(library->input.DoubleWord(), 1);
}

/// A call that has nothing but a status; failing excuses a handle that stays open.
FT_STATUS Plain(FT_HANDLE handle) {
    Channel* const channel = Find(handle);
    FT_STATUS status = channel == nullptr ? kInvalidHandle : FT_OK;
    switch (library->plan.Next()) {
    case Manner::Fails:
        status = kIoError;
        break;
    case Manner::Odd:
        status = OddStatus();
        break;
    default:
        break;
    }
    if (channel != nullptr && status != FT_OK) {
        channel->isExcused = true;
    }
    return status;
}

/// A number that a library could report for a true one.
std::uint32_t OddNumber() {
    constexpr std::uint32_t kNumbers[] = {0,    1,    2,          3,          64,        4095,
                                          4096, 4097, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF};
    const std::uint8_t byte = library->input.Byte();
    return byte < std::size(kNumbers) ? kNumbers[byte] : library->input.DoubleWord();
}

void CheckRoom(const Node* nodes, std::uint32_t count) {
    const Node zero{};
    Check(count == library->reported, "the list has room for what was counted");
    Check(count <= kMostNodes, "no memory is asked for on behalf of a senseless count");
    for (std::uint32_t i = 0; i < std::min<std::uint32_t>(count, 8); ++i) {
        Check(std::memcmp(&nodes[i], &zero, sizeof zero) == 0, "the list comes zeroed");
    }
    Check(std::memcmp(&nodes[count - 1], &zero, sizeof zero) == 0, "the list comes zeroed");
}

bool EndsInLetterOfAChannel(const Node& node) {
    const std::size_t length = strnlen(node.SerialNumber, sizeof node.SerialNumber);
    return length > 0 && std::strchr("ABab", node.SerialNumber[length - 1]) != nullptr;
}

void Take(const std::uint8_t* command, std::uint32_t length) {
    if (length == 1) {
        library->queue = {command[0] == 0x81 ? library->lowPins
                                             : static_cast<std::uint8_t>((library->output & 0x4F) |
                                                                         library->inputs)};
    } else {
        library->output = command[1];
    }
}

/// What the library may say to the chip: a question for a byte, or a new high byte.
void CheckCommand(const std::uint8_t* command, std::uint32_t length) {
    if (length == 1) {
        Check(command[0] == 0x81 || command[0] == 0x83, "a command of one byte asks");
        return;
    }
    Check(length == 3 && command[0] == 0x82 && command[2] == 0x4F,
          "a command of three bytes sets the high byte and its directions");
    ++library->seen.writes;
    library->seen.triggers += command[1] & 1U;
}

} // namespace

void Begin(Input& input) {
    library.emplace(input);
    library->inputs = input.Byte() & 0xB0;
    library->lowPins = input.Byte();
    ListHealthyChip();
}

void Heal() {
    library->plan.Heal();
    ListHealthyChip();
}

Seen TakeSeen() {
    return std::exchange(library->seen, Seen{});
}

bool IsTriggerHigh() {
    return (library->output & 1) != 0;
}

bool IsReady() {
    return (library->inputs & 0x10) != 0;
}

unsigned InexcusablyOpen() {
    const auto isInexcusable = [](const auto& entry) { return !entry.second.isExcused; };
    return static_cast<unsigned>(
        std::count_if(library->open.begin(), library->open.end(), isInexcusable));
}

} // namespace fuzz::d2xx

using namespace fuzz;
using namespace fuzz::d2xx;

FT_STATUS FT_CALL FT_CreateDeviceInfoList(std::uint32_t* deviceCount) {
    switch (library->plan.Next()) {
    case Manner::Fails:
        return kIoError;
    case Manner::Silent:
        break;
    case Manner::Odd: {
        library->nodes.clear();
        const unsigned nodes = library->input.Byte() % 16;
        if (nodes >= 8) { // a count that has nothing to do with the nodes
            const std::uint32_t count = OddNumber();
            const bool isLarge = count > 64 && count <= kMostNodes;
            *deviceCount = isLarge && library->hadLargeList ? kMostNodes + 1 : count;
            library->hadLargeList |= isLarge;
            break;
        }
        for (unsigned i = 0; i < nodes; ++i) {
            library->nodes.push_back(NodeFromInput(library->input));
        }
        [[fallthrough]];
    }
    case Manner::Healthy:
        *deviceCount = static_cast<std::uint32_t>(library->nodes.size());
        break;
    }
    library->reported = *deviceCount;
    return FT_OK;
}

FT_STATUS FT_CALL FT_GetDeviceInfoList(FT_DEVICE_LIST_INFO_NODE* nodes,
                                       std::uint32_t* deviceCount) {
    CheckRoom(nodes, *deviceCount);
    const Manner manner = library->plan.Next();
    if (manner == Manner::Fails) {
        return kIoError;
    }
    if (manner == Manner::Silent) {
        return FT_OK;
    }
    const auto filled =
        static_cast<std::uint32_t>(std::min<std::size_t>(*deviceCount, library->nodes.size()));
    std::copy_n(library->nodes.begin(), filled, nodes);
    *deviceCount = manner == Manner::Odd ? OddNumber() : filled;
    return FT_OK;
}

FT_STATUS FT_CALL FT_Open(int deviceIndex, FT_HANDLE* handle) {
    Check(deviceIndex >= 0 && static_cast<std::size_t>(deviceIndex) < library->nodes.size(),
          "a device of the list is opened");
    const Node& node = library->nodes[static_cast<std::size_t>(deviceIndex)];
    Check(node.ID == kFt2232hId && node.Type == FT_DEVICE_2232H && EndsInLetterOfAChannel(node),
          "a channel of an FT2232H is opened");
    switch (library->plan.Next()) {
    case Manner::Fails:
        return kIoError;
    case Manner::Silent:
        return FT_OK;
    case Manner::Odd:
        *handle = nullptr;
        return library->input.Byte() % 2 == 0 ? FT_OK : OddStatus();
    case Manner::Healthy:
        break;
    }
    const std::uintptr_t number = library->nextHandle++;
    library->open[number] = {};
    library->queue.clear();
    *handle = reinterpret_cast<FT_HANDLE>(number);
    return FT_OK;
}

FT_STATUS FT_CALL FT_Close(FT_HANDLE handle) {
    const FT_STATUS status = Plain(handle);
    library->open.erase(reinterpret_cast<std::uintptr_t>(handle));
    return status;
}

FT_STATUS FT_CALL FT_Write(FT_HANDLE handle, void* buffer, std::uint32_t bytesToWrite,
                           std::uint32_t* bytesWritten) {
    const auto* const command = static_cast<const std::uint8_t*>(buffer);
    CheckCommand(command, bytesToWrite);
    Check(*bytesWritten == 0, "the count of a write comes zeroed");
    if (Find(handle) == nullptr) {
        return kInvalidHandle;
    }
    switch (library->plan.Next()) {
    case Manner::Fails:
        return kIoError;
    case Manner::Silent:
        return FT_OK;
    case Manner::Odd:
        *bytesWritten = OddNumber();
        if (library->input.Byte() % 2 != 0) {
            return OddStatus();
        }
        library->seen.lostWrites += bytesToWrite == 3 && *bytesWritten == 3 ? 1 : 0;
        return FT_OK;
    case Manner::Healthy:
        break;
    }
    Take(command, bytesToWrite);
    *bytesWritten = bytesToWrite;
    return FT_OK;
}

FT_STATUS FT_CALL FT_Read(FT_HANDLE handle, void* buffer, std::uint32_t bytesToRead,
                          std::uint32_t* bytesReturned) {
    if (Find(handle) == nullptr) {
        return kInvalidHandle;
    }
    auto* const bytes = static_cast<std::uint8_t*>(buffer);
    switch (library->plan.Next()) {
    case Manner::Fails:
        return kIoError;
    case Manner::Silent:
        break;
    case Manner::Odd: // all the room there is, and any count
        std::fill_n(bytes, bytesToRead, library->input.Byte());
        *bytesReturned = OddNumber();
        break;
    case Manner::Healthy: {
        const std::size_t count = std::min<std::size_t>(bytesToRead, library->queue.size());
        std::copy_n(library->queue.begin(), count, bytes);
        library->queue.erase(library->queue.begin(),
                             library->queue.begin() + static_cast<std::ptrdiff_t>(count));
        *bytesReturned = static_cast<std::uint32_t>(count);
        break;
    }
    }
    ++library->seen.readBytes;
    return FT_OK;
}

FT_STATUS FT_CALL FT_GetQueueStatus(FT_HANDLE handle, std::uint32_t* bytesInReceiveQueue) {
    Channel* const channel = Find(handle);
    if (channel == nullptr) {
        return kInvalidHandle;
    }
    FT_STATUS status = FT_OK;
    switch (library->plan.Next()) {
    case Manner::Fails:
        status = kIoError;
        break;
    case Manner::Silent:
        break;
    case Manner::Odd:
        *bytesInReceiveQueue = OddNumber();
        status = library->input.Byte() % 4 == 3 ? OddStatus() : FT_OK;
        break;
    case Manner::Healthy:
        *bytesInReceiveQueue = static_cast<std::uint32_t>(library->queue.size());
        break;
    }
    channel->isExcused |= status != FT_OK && !channel->isConfigured;
    return status;
}

FT_STATUS FT_CALL FT_SetBitMode(FT_HANDLE handle, std::uint8_t mask, std::uint8_t mode) {
    Check(mask == 0 && (mode == FT_BITMODE_RESET || mode == FT_BITMODE_MPSSE), "a bit mode");
    const FT_STATUS status = Plain(handle);
    if (Channel* const channel = Find(handle); channel != nullptr && mode == FT_BITMODE_MPSSE) {
        channel->isConfigured = true;
    }
    return status;
}

FT_STATUS FT_CALL FT_ResetDevice(FT_HANDLE handle) {
    return Plain(handle);
}
FT_STATUS FT_CALL FT_SetFlowControl(FT_HANDLE handle, std::uint16_t, std::uint8_t, std::uint8_t) {
    return Plain(handle);
}
FT_STATUS FT_CALL FT_SetChars(FT_HANDLE handle, std::uint8_t, std::uint8_t, std::uint8_t,
                              std::uint8_t) {
    return Plain(handle);
}
FT_STATUS FT_CALL FT_SetTimeouts(FT_HANDLE handle, std::uint32_t, std::uint32_t) {
    return Plain(handle);
}
FT_STATUS FT_CALL FT_SetLatencyTimer(FT_HANDLE handle, std::uint8_t) {
    return Plain(handle);
}
FT_STATUS FT_CALL FT_SetUSBParameters(FT_HANDLE handle, std::uint32_t, std::uint32_t) {
    return Plain(handle);
}
FT_STATUS FT_CALL FT_ResetPort(FT_HANDLE handle) {
    return Plain(handle);
}
