#include "usb_bus.h"

#include <algorithm>

#include "d2xx_status.h"
#include "rig_state.h"

namespace rig::usb {

namespace {

constexpr std::uint32_t kFlagOpen = 1;
constexpr std::uint32_t kFlagHighSpeed = 2;
constexpr std::uint32_t kChipsApartOnTheBus = 0x10;

constexpr std::uint32_t kTypeUnknown = 3; // FT_DEVICE_UNKNOWN

/// Copies a text into a field, cut to fit and zero-terminated.
template <std::size_t size>
void Fill(char (&field)[size], const std::string& text) {
    field[text.copy(field, size - 1)] = '\0';
}

/// Never returns a number twice, not even after a new scenario, so that old handles stay invalid.
FT_HANDLE NextHandle() {
    static std::uintptr_t last = 0x1000;
    last += 0x10;
    return reinterpret_cast<FT_HANDLE>(last);
}

} // namespace

UsbBus::UsbBus(const std::vector<UsbChipSetup>& setups, const Surroundings& surroundings)
    : around(surroundings) {
    for (const UsbChipSetup& setup : setups) {
        chips.emplace_back(setup, around.installation, around.timeline);
    }
}

HostNumber UsbBus::Host() {
    return Rig::Instance().host;
}

UsbBus::Nodes UsbBus::PresentNodes() const {
    Nodes nodes;
    for (const Place& place : PresentPlaces()) {
        nodes.push_back(NodeAt(place));
    }
    return nodes;
}

const UsbBus::Nodes& UsbBus::TakeSnapshot() {
    return snapshots[Host()] = PresentNodes();
}

FT_STATUS UsbBus::Open(int index, FT_HANDLE& handle) {
    const std::vector<Place> places = PresentPlaces();
    if (index < 0 || static_cast<std::size_t>(index) >= places.size()) {
        return kDeviceNotFound;
    }
    const Place& place = places[static_cast<std::size_t>(index)];
    const UsbChip& chip = chips[place.chip];
    const bool isReady = chip.IsThereFor(chip.setup.opensAfter);
    if (!isReady || chip.isOpenElsewhere || OpenAt(place) != nullptr) {
        return kDeviceNotOpened;
    }
    handle = NextHandle();
    handles[handle] = {place, Host()};
    chips[place.chip].channels[place.channel].ResetDriver();
    return FT_OK;
}

FT_STATUS UsbBus::Close(FT_HANDLE handle) {
    // Closing affects the driver only: the chip keeps its mode and its levels.
    const OpenHandle* const found = OwnHandle(handle);
    if (found == nullptr) {
        return kInvalidHandle;
    }
    const OpenHandle closed = *found;
    handles.erase(handle);
    return closed.isStale && !closed.closesCleanly ? kIoError : FT_OK;
}

FT_STATUS UsbBus::ResetPort(FT_HANDLE handle) {
    FT_STATUS status = FT_OK;
    if (Find(handle, status) == nullptr) {
        return status;
    }
    OpenHandle& used = handles.at(handle);
    used.closesCleanly = true;
    LeaveForAWhile(used.place.chip);
    return FT_OK;
}

void UsbBus::Reload(std::uint32_t id) {
    for (std::size_t chip = 0; chip < chips.size(); ++chip) {
        if (chips[chip].isPlugged && (id == 0 || id == ModelOf(chips[chip].setup).id)) {
            LeaveForAWhile(chip);
        }
    }
}

Channel* UsbBus::Find(FT_HANDLE handle, FT_STATUS& status) {
    const OpenHandle* const found = OwnHandle(handle);
    if (found == nullptr || found->isStale) {
        status = found == nullptr ? kInvalidHandle : kIoError;
        return nullptr;
    }
    const Place& place = found->place;
    return &chips[place.chip].channels[place.channel];
}

std::string UsbBus::NameOf(FT_HANDLE handle) const {
    const OpenHandle* const found = OwnHandle(handle);
    return found != nullptr ? chips[found->place.chip].SerialOf(found->place.channel) : "?";
}

void UsbBus::SetPlugged(unsigned chip, bool plugged) {
    around.timeline.Cancel(chips[chip].comeback);
    if (plugged && !chips[chip].isPlugged) {
        Return(chip);
    } else if (!plugged && chips[chip].isPlugged) {
        Leave(chip);
    }
}

void UsbBus::Describe(Equipment& equipment) const {
    for (std::size_t i = 0; i < chips.size(); ++i) {
        const UsbChipSetup& setup = chips[i].setup;
        equipment.chips.push_back({UsbChipSetup::kTypeNames[static_cast<std::size_t>(setup.type)],
                                   setup.serial, i, chips[i].isPlugged, setup.camera});
    }
    for (const auto& [handle, open] : handles) {
        const Place& place = open.place;
        equipment.handles.emplace(open.host, chips[place.chip].SerialOf(place.channel));
    }
}

std::vector<UsbBus::Place> UsbBus::PresentPlaces() const {
    std::vector<Place> places;
    for (std::size_t chip = 0; chip < chips.size(); ++chip) {
        for (std::size_t i = 0; chips[chip].isPlugged && i < chips[chip].channels.size(); ++i) {
            places.push_back({chip, i});
        }
    }
    return places;
}

const std::pair<const FT_HANDLE, UsbBus::OpenHandle>* UsbBus::OpenAt(const Place& place) const {
    const auto found = std::find_if(handles.begin(), handles.end(), [&](const auto& entry) {
        return entry.second.place == place && !entry.second.isStale;
    });
    return found != handles.end() ? &*found : nullptr;
}

const UsbBus::OpenHandle* UsbBus::OwnHandle(FT_HANDLE handle) const {
    const auto found = handles.find(handle);
    const bool isOwn = found != handles.end() && found->second.host == Host();
    return isOwn ? &found->second : nullptr;
}

void UsbBus::Release(HostNumber host) {
    std::erase_if(handles, [&](const auto& entry) { return entry.second.host == host; });
    snapshots.erase(host);
}

FT_DEVICE_LIST_INFO_NODE UsbBus::NodeAt(const Place& place) const {
    const UsbChip& chip = chips[place.chip];
    const UsbModel& model = ModelOf(chip.setup);
    FT_DEVICE_LIST_INFO_NODE node{};
    const auto* const open = OpenAt(place);
    if (chip.isOpenElsewhere || (open != nullptr && open->second.host != Host())) {
        // The driver shows the details of an open device only to the program that opened it.
        node.Flags = kFlagOpen;
        node.Type = kTypeUnknown;
        return node;
    }
    const bool isOpen = open != nullptr;
    node.ftHandle = isOpen ? open->first : nullptr;
    node.Flags = (model.isHighSpeed ? kFlagHighSpeed : 0) | (isOpen ? kFlagOpen : 0);
    node.Type = model.type;
    node.ID = model.id;
    // The driver reports no location for an open channel.
    node.LocId = isOpen ? 0
                        : static_cast<std::uint32_t>((place.chip + 1) * kChipsApartOnTheBus +
                                                     place.channel + 1);
    if (chip.IsThereFor(chip.setup.namedAfter)) {
        Fill(node.SerialNumber, chip.SerialOf(place.channel));
        Fill(node.Description, chip.DescriptionOf(place.channel));
    }
    return node;
}

void UsbBus::SetAsleep(bool asleep) {
    for (std::size_t chip = 0; chip < chips.size(); ++chip) {
        asleep ? Detach(chip) : Attach(chip);
    }
}

void UsbBus::Leave(std::size_t chip) {
    chips[chip].isPlugged = false;
    Detach(chip);
}

void UsbBus::Return(std::size_t chip) {
    chips[chip].isPlugged = true;
    Attach(chip);
}

void UsbBus::Attach(std::size_t chip) {
    chips[chip].attachedAt = around.timeline.Now();
}

void UsbBus::Detach(std::size_t chip) {
    chips[chip].isOpenElsewhere = false; // the other program's handles are invalid too
    chips[chip].LosePower();
    for (auto& [handle, open] : handles) {
        open.isStale |= open.place.chip == chip;
    }
}

void UsbBus::LeaveForAWhile(std::size_t chip) {
    around.trace.Event("unplug " + std::to_string(chip));
    Leave(chip);
    if (const auto& duration = chips[chip].setup.resetPort) {
        chips[chip].comeback = around.timeline.After(*duration, [this, chip] {
            around.trace.Event("plug " + std::to_string(chip));
            Return(chip);
        });
    }
}

} // namespace rig::usb
