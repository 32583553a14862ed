#include "device_finder.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <new>
#include <span>
#include <string_view>

#include "d2xx.h"

namespace SLV::Internal {

namespace {

constexpr int kNotFound = -1;
constexpr std::uint32_t kFt2232hId = 0x0403'6010;

/// Far more channels than a machine can have: no memory is requested for a larger count.
constexpr std::uint32_t kMostNodes = 4096;

using Node = FT_DEVICE_LIST_INFO_NODE;

/// Text in a field of fixed size, which ends at a zero or at the end of the field.
template <std::size_t Size>
std::string_view FieldText(const char (&field)[Size]) {
    return {field, static_cast<std::size_t>(std::find(field, field + Size, '\0') - field)};
}

/// Serial numbers are ASCII, whatever the host's locale.
char UpperCase(char letter) {
    return letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 'a' + 'A') : letter;
}

bool IsChannel(const Node& node, char letter) {
    const std::string_view serial = FieldText(node.SerialNumber);
    return node.ID == kFt2232hId && node.Type == FT_DEVICE_2232H && !serial.empty() &&
           UpperCase(serial.back()) == UpperCase(letter);
}

/// Zeroed memory for so many nodes; null when there is none, or the count is absurd.
std::unique_ptr<Node[]> MakeRoom(std::uint32_t count) {
    if (count > kMostNodes) {
        return nullptr;
    }
    return std::unique_ptr<Node[]>(new (std::nothrow) Node[count]());
}

/// Fills the room; `count` becomes the number of nodes filled.
FT_STATUS ListNodes(Node* room, std::uint32_t& count) {
    if (room == nullptr) {
        return FT_INSUFFICIENT_RESOURCES;
    }
    std::uint32_t filled = count;
    const FT_STATUS status = FT_GetDeviceInfoList(room, &filled);
    count = std::min(filled, count);
    return status;
}

void LogNodes(Logger& logger, std::span<const Node> nodes) {
    logger.Line("No valid device found in following device list: ");
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        const Node& node = nodes[i];
        logger.Line("Dev: ", i);
        logger.Line(" Flags=0x", Hex(node.Flags));
        logger.Line(" Type=0x", Hex(node.Type));
        logger.Line(" ID=0x", Hex(node.ID));
        logger.Line(" LocId=0x", Hex(node.LocId));
        logger.Line(" SerialNumber=", FieldText(node.SerialNumber));
        logger.Line(" Description=", FieldText(node.Description));
        logger.Line(" s_ft_handle=0x", Address{node.ftHandle});
    }
}

} // namespace

int FindDevice(Logger& logger, char letter) {
    std::uint32_t count = 0;
    FT_STATUS status = FT_CreateDeviceInfoList(&count);
    if (status != FT_OK) {
        logger.Line("Error in getting the number of devices. Error: ", status);
        return kNotFound;
    }
    if (count == 0) {
        logger.Line("There are no FTDI devices installed");
        return kNotFound;
    }
    logger.Line("Total FTDI devices available:  ", count);

    const std::unique_ptr<Node[]> room = MakeRoom(count);
    status = ListNodes(room.get(), count);
    if (status != FT_OK) {
        logger.Line("Failed to obtain FTDI devices info list. Error: ", status);
        return kNotFound;
    }

    const std::span<const Node> nodes(room.get(), count);
    const auto match =
        std::ranges::find_if(nodes, [&](const Node& node) { return IsChannel(node, letter); });
    if (match != nodes.end()) {
        return static_cast<int>(match - nodes.begin());
    }
    LogNodes(logger, nodes);
    return kNotFound;
}

} // namespace SLV::Internal
