#include "anonymity.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "call_parts.h"

namespace rig::record {

namespace {

using Node = FT_DEVICE_LIST_INFO_NODE;

bool IsSerialNumber(const Parameter& parameter) {
    return parameter.passing == Passing::Out && parameter.out == Show::Text &&
           parameter.size == sizeof Node::SerialNumber;
}

bool AreNodes(const Parameter& parameter) {
    return parameter.passing == Passing::Things && parameter.size == sizeof(Node);
}

/// Whether FT_ListDevices and FT_OpenEx identify devices by their serial numbers.
bool IsBySerialNumber(const Value& flags) {
    const std::uint32_t by = ListedBy(Number(flags));
    return by != usb::kByDescription && by != usb::kByLocation;
}

char Lower(char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

/// Whether a folder has a folder for each user.
bool HasUsers(std::string_view folder) {
    std::string lower(folder);
    std::transform(lower.begin(), lower.end(), lower.begin(), Lower);
    constexpr std::array<std::string_view, 3> kFolders = {"users", "documents and settings",
                                                          "home"};
    return std::find(kFolders.begin(), kFolders.end(), lower) != kFolders.end();
}

} // namespace

void SerialNumbers::Hide(std::string& serial) {
    if (serial.empty()) { // of a chip that Windows still sets up
        return;
    }
    const std::string chip = serial.substr(0, serial.size() - 1);
    const auto entry = names.try_emplace(chip, "SN" + std::to_string(names.size() + 1)).first;
    serial = entry->second + serial.back();
}

void SerialNumbers::HideInNodes(std::string& nodes) {
    for (std::size_t begin = 0; begin + sizeof(Node) <= nodes.size(); begin += sizeof(Node)) {
        Node node;
        std::memcpy(&node, nodes.data() + begin, sizeof node);
        std::string serial(node.SerialNumber, strnlen(node.SerialNumber, sizeof node.SerialNumber));
        Hide(serial);
        std::fill(std::begin(node.SerialNumber), std::end(node.SerialNumber), '\0');
        // What follows the text may be anything that was in the host's memory.
        std::fill(std::find(std::begin(node.Description), std::end(node.Description), '\0'),
                  std::end(node.Description), '\0');
        serial.copy(node.SerialNumber, sizeof node.SerialNumber - 1);
        std::memcpy(nodes.data() + begin, &node, sizeof node);
    }
}

void SerialNumbers::HideInInputs(Call& call) {
    if (call.function.id == Function::FT_OpenEx && IsBySerialNumber(call.inputs[1])) {
        if (auto* const serial = std::get_if<std::string>(&call.inputs[0])) {
            Hide(*serial);
        }
    }
}

void SerialNumbers::HideInOutputs(Call& call) {
    const bool isList =
        call.function.id == Function::FT_ListDevices && IsBySerialNumber(call.inputs[2]);
    for (std::size_t i = 0; i < call.outputs.size(); ++i) {
        const Parameter& parameter = call.function.parameters[i];
        if (auto* const text = std::get_if<std::string>(&call.outputs[i])) {
            if (AreNodes(parameter)) {
                HideInNodes(*text);
            } else if (isList || IsSerialNumber(parameter)) {
                Hide(*text);
            }
        } else if (auto* const texts = std::get_if<Texts>(&call.outputs[i]); texts && isList) {
            for (std::string& serial : *texts) {
                Hide(serial);
            }
        }
    }
}

std::string WithoutUserName(std::string_view path) {
    std::string shown;
    bool isUser = false;
    while (!path.empty()) {
        const std::size_t end = std::min(path.find_first_of("\\/"), path.size());
        const std::string_view folder = path.substr(0, end);
        shown += isUser ? "USER" : folder;
        isUser = HasUsers(folder);
        shown += path.substr(end, 1);
        path.remove_prefix(std::min(end + 1, path.size()));
    }
    return shown;
}

} // namespace rig::record
