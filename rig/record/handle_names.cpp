#include "handle_names.h"

#include <algorithm>
#include <cstring>

#include "call_parts.h"

namespace rig::record {

namespace {

using Node = FT_DEVICE_LIST_INFO_NODE;

/// A longer list than any bus has is none; its memory would be the host's to decide.
constexpr std::size_t kMostDevices = 1024;

std::string TextFrom(const Value& value) {
    return std::string(BytesOf(value));
}

template <std::size_t size>
std::string TextOf(const char (&field)[size]) {
    return {field, std::find(field, field + size, '\0')};
}

Node NodeAt(std::string_view nodes, std::size_t index) {
    Node node;
    std::memcpy(&node, nodes.data() + index * sizeof node, sizeof node);
    return node;
}

} // namespace

std::vector<Device> DevicesIn(std::string_view nodes) {
    std::vector<Device> devices;
    for (std::size_t i = 0; i < std::min(nodes.size() / sizeof(Node), kMostDevices); ++i) {
        const Node node = NodeAt(nodes, i);
        devices.push_back(
            {TextOf(node.SerialNumber), TextOf(node.Description), node.LocId, node.Type, node.ID});
    }
    return devices;
}

void HandleNames::Learn(const Call& call) {
    if (&call.function.library != &kFtd2xx || call.status != FT_OK) {
        return;
    }
    switch (call.function.id) {
    case Function::FT_CreateDeviceInfoList:
        if (Number(Output(call, 0)) != list.size()) {
            list.clear(); // something has come or gone
        }
        break;
    case Function::FT_GetDeviceInfoList:
        LearnNodes(Output(call, 0));
        break;
    case Function::FT_GetDeviceInfoDetail:
        LearnDetail(call);
        break;
    case Function::FT_ListDevices:
        LearnList(call);
        break;
    case Function::FT_Open: {
        const std::uint64_t index = Number(Input(call, 0));
        Open(Output(call, 1), index < list.size() ? list[index] : Device{});
        break;
    }
    case Function::FT_OpenEx:
        Open(Output(call, 2), Known(Word(Input(call, 1)), Input(call, 0)));
        break;
    case Function::FT_GetDeviceInfo:
        Describe(Number(Input(call, 0)), {TextFrom(Output(call, 3)), TextFrom(Output(call, 4)), 0,
                                          Word(Output(call, 1)), Word(Output(call, 2))});
        break;
    case Function::FT_Close:
        open.erase(Number(Input(call, 0)));
        break;
    default:
        break;
    }
}

const std::string& HandleNames::NameOf(std::uint64_t handle) const {
    static const std::string unknown = "?";
    const Device* const device = DeviceOf(handle);
    return device == nullptr || device->serial.empty() ? unknown : device->serial;
}

const Device* HandleNames::DeviceOf(std::uint64_t handle) const {
    const auto found = open.find(handle);
    return found != open.end() ? &found->second : nullptr;
}

const Device* HandleNames::DeviceAt(std::uint32_t location) const {
    const auto found = std::ranges::find(known, location, &Device::location);
    return found != known.end() && location != 0 ? &*found : nullptr;
}

/// The device that a host names by its serial number, description or location.
Device HandleNames::Known(std::uint32_t by, const Value& identity) const {
    Device named;
    const auto find = [&](auto member, const auto& wanted) {
        named.*member = wanted;
        const auto found = std::ranges::find(known, wanted, member);
        return found != known.end() && wanted != decltype(wanted){} ? *found : named;
    };
    switch (by) {
    case usb::kBySerialNumber:
        return find(&Device::serial, TextFrom(identity));
    case usb::kByDescription:
        return find(&Device::description, TextFrom(identity));
    case usb::kByLocation:
        return find(&Device::location, Word(identity));
    default:
        return named;
    }
}

/// Sets an entry of the list. A device that is still being set up is listed without its texts: it
/// is known by its place on the bus.
void HandleNames::Enter(std::size_t index, const Device& device) {
    if (index >= kMostDevices) {
        return;
    }
    list.resize(std::max(list.size(), index + 1));
    list[index] = device;
    if (device.serial.empty() && device.location != 0) {
        list[index] = Known(usb::kByLocation, std::uint64_t{device.location});
    }
    Remember(device);
}

void HandleNames::Remember(const Device& device) {
    const auto same = std::ranges::find(known, device.serial, &Device::serial);
    if (same == known.end() && !device.serial.empty() && known.size() < kMostDevices) {
        known.push_back(device);
    } else if (same != known.end() && device.location != 0) { // an open one is listed without it
        *same = device;
    }
}

void HandleNames::LearnNodes(const Value& nodes) {
    const std::string bytes = TextFrom(nodes);
    const std::vector<Device> devices = DevicesIn(bytes);
    if (devices.size() < list.size()) {
        list.clear();
    }
    for (std::size_t i = 0; i < devices.size(); ++i) {
        Enter(i, devices[i]);
        Describe(AsNumber(NodeAt(bytes, i).ftHandle), devices[i]);
    }
}

void HandleNames::LearnDetail(const Call& call) {
    const Device device{TextFrom(Output(call, 5)), TextFrom(Output(call, 6)), Word(Output(call, 4)),
                        Word(Output(call, 2)), Word(Output(call, 3))};
    Enter(Number(Input(call, 0)), device);
    Describe(Number(Output(call, 7)), device);
}

/// Hosts leave out what they do not ask for, and devices that are being set up have no serial
/// number.
void HandleNames::Describe(std::uint64_t handle, const Device& device) {
    if (const auto found = open.find(handle); found != open.end() && !device.serial.empty()) {
        found->second = device;
    }
}

/// FT_ListDevices gives one property of one device, or of all.
void HandleNames::LearnList(const Call& call) {
    const std::uint32_t flags = Word(Input(call, 2));
    const std::uint32_t by = ListedBy(flags);
    if ((flags & usb::kListByIndex) != 0 && IsThere(Output(call, 1))) {
        Enter(Number(Input(call, 0)), Known(by, Output(call, 1)));
    } else if (const auto* const texts = std::get_if<Texts>(&Output(call, 0))) {
        for (std::size_t i = 0; i < texts->size(); ++i) {
            Enter(i, Known(by, Value((*texts)[i])));
        }
    } else if ((flags & usb::kListAll) != 0) {
        const std::string places = TextFrom(Output(call, 0));
        for (std::size_t i = 0; (i + 1) * sizeof(std::uint32_t) <= places.size(); ++i) {
            std::uint32_t place = 0;
            std::memcpy(&place, places.data() + i * sizeof place, sizeof place);
            Enter(i, Known(by, std::uint64_t{place}));
        }
    }
}

void HandleNames::Open(const Value& handle, const Device& device) {
    if (IsThere(handle)) {
        open[Number(handle)] = device;
        Remember(device);
    }
}

} // namespace rig::record
