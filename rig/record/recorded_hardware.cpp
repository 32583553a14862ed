#include "recorded_hardware.h"

#include <algorithm>

#include "call_parts.h"
#include "super_io.h"

namespace rig::record {

namespace {

constexpr std::uint32_t kDual = 4;    ///< FT_DEVICE_2232C, as the FT2232D is called
constexpr std::uint32_t kQuad = 7;    ///< FT_DEVICE_4232H
constexpr std::uint32_t kUnknown = 3; ///< FT_DEVICE_UNKNOWN: another program has it open

bool HasChannels(std::uint32_t type) {
    return type == kDual || type == kQuad || type == FT_DEVICE_2232H || type == 0;
}

std::vector<Device> NodesIn(const Call& call) {
    return DevicesIn(BytesOf(Output(call, 0)));
}

/// Adds the device's chip, or another channel of it.
void Add(std::vector<RecordedChip>& chips, const Device& device) {
    if (device.serial.empty()) {
        return;
    }
    const bool hasLetter = HasChannels(device.type);
    const std::size_t size = device.serial.size() - (hasLetter ? 1 : 0);
    const std::string serial = device.serial.substr(0, size);
    auto chip = std::ranges::find(chips, serial, &RecordedChip::serial);
    if (chip == chips.end()) {
        chips.push_back({serial, "", "", device.type, false});
        chip = std::prev(chips.end());
    }
    const char letter = hasLetter ? device.serial.back() : '\0';
    if (hasLetter && chip->letters.find(letter) == std::string::npos) {
        chip->letters += letter;
    }
    if (device.type != 0) {
        chip->type = device.type;
    }
    if (!device.description.empty()) { // the driver has appended " A"
        const std::size_t cut = hasLetter ? std::min<std::size_t>(device.description.size(), 2) : 0;
        chip->description = device.description.substr(0, device.description.size() - cut);
    }
}

/// Chips that another program has open are listed with two nodes, or with one, that tell nothing.
void AddUnnamed(std::vector<RecordedChip>& chips, const std::vector<Device>& nodes) {
    const auto isUnnamed = [](const Device& node) {
        return node.type == kUnknown && node.serial.empty();
    };
    const auto isOne = [](const RecordedChip& chip) { return chip.isOpenElsewhere; };
    if (std::ranges::any_of(chips, isOne)) {
        return;
    }
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        const bool isPair = i + 1 < nodes.size() && isUnnamed(nodes[i + 1]);
        if (isUnnamed(nodes[i])) {
            constexpr std::uint32_t kSingle = 5; // FT_DEVICE_232R
            chips.push_back({"", "", "", isPair ? FT_DEVICE_2232H : kSingle, true});
            i += isPair ? 1 : 0;
        }
    }
}

void AddChips(const Recording& recording, RecordedHardware& hardware) {
    HandleNames names;
    bool isAnyOpened = false;
    for (const RecordedCall& recorded : recording.calls) {
        const Call& call = recorded.call;
        if (!recorded.returned || call.status != FT_OK) {
            continue;
        }
        names.Learn(call);
        isAnyOpened |= call.function.id == Function::FT_Open && IsThere(Output(call, 1));
        if (call.function.id == Function::FT_GetDeviceInfoList) {
            for (const Device& device : NodesIn(call)) {
                Add(hardware.chips, device);
            }
            AddUnnamed(hardware.chips, NodesIn(call));
        }
    }
    for (const Device& device : names.Devices()) {
        Add(hardware.chips, device);
    }
    if (hardware.chips.empty() && isAnyOpened) { // by an index, without having looked
        hardware.chips.push_back({"SLV1", "AB", "", FT_DEVICE_2232H, false});
    }
}

/// Follows what the host reads and writes at the ports of a Super I/O chip.
class SuperIoReader {
  public:
    explicit SuperIoReader(std::optional<RecordedSuperIo>& itsFindings) : found(itsFindings) {}

    void Write(std::uint16_t port, std::uint8_t value) {
        if (port == io::SuperIo::kIndexPort) {
            at.WriteIndex(value);
        } else if (port == io::SuperIo::kDataPort && at.isConfiguring &&
                   at.index == io::kLogicalDevice) {
            at.logicalDevice = value;
        }
    }

    void Read(std::uint16_t port, std::uint32_t value) {
        constexpr std::uint32_t kNobody = 0xFF;
        if (port != io::SuperIo::kDataPort || !at.isConfiguring || value > kNobody) {
            return;
        }
        if (at.index == io::kFirstId && value != kNobody) {
            Found().firstId = static_cast<std::uint8_t>(value);
        } else if (at.index == io::kSecondId && value != kNobody) {
            Found().secondId = static_cast<std::uint8_t>(value);
        } else if (at.index == io::kActiveBanks && at.IsOfGpio() && found) {
            Found().activeBanks = static_cast<std::uint8_t>(value);
        }
    }

  private:
    RecordedSuperIo& Found() { return found ? *found : found.emplace(); }

    std::optional<RecordedSuperIo>& found;
    io::RegisterSelection at;
};

bool IsOfParallelPort(std::uint32_t port) {
    return port != io::SuperIo::kIndexPort && port != io::SuperIo::kDataPort;
}

void AddPorts(const Recording& recording, RecordedHardware& hardware) {
    SuperIoReader superIo(hardware.superIo);
    bool isAsked = false;
    for (const RecordedCall& recorded : recording.calls) {
        const Call& call = recorded.call;
        const auto port = static_cast<std::uint16_t>(Number(Input(call, 0)));
        if (!recorded.returned) {
            continue;
        }
        switch (call.function.id) {
        case Function::IsInpOutDriverOpen:
            hardware.isDriverOpen = isAsked ? hardware.isDriverOpen : call.status != 0;
            isAsked = true;
            break;
        case Function::Inp32:
            superIo.Read(port, call.status);
            [[fallthrough]];
        case Function::Out32:
            if (call.function.id == Function::Out32) {
                superIo.Write(port, static_cast<std::uint8_t>(Number(Input(call, 1))));
            }
            // A host that looks for the camera writes and reads the three registers; the first one
            // has the lowest address.
            if (IsOfParallelPort(port)) {
                hardware.parallelPort = std::min(hardware.parallelPort.value_or(port), port);
            }
            break;
        default:
            break;
        }
    }
    hardware.isDriverOpen |= !isAsked && (hardware.superIo || hardware.parallelPort);
}

void AddBoard(const Recording& recording, RecordedHardware& hardware) {
    for (const RecordedCall& recorded : recording.calls) {
        const Call& call = recorded.call;
        if (!recorded.returned || call.status != EAPI_STATUS_SUCCESS ||
            &call.function.library != &kEapi) {
            continue;
        }
        constexpr std::uint32_t kMost = 32;
        const auto count = Word(Output(call, 0));
        if (call.function.id == Function::EApiLibInitialize && !hardware.gpios) {
            hardware.gpios = 8;
        } else if (call.function.id == Function::EApiGPIOGetCount && count <= kMost &&
                   IsThere(Output(call, 0))) {
            hardware.gpios = count;
        }
    }
}

} // namespace

std::optional<std::size_t> RecordedHardware::ChipOf(std::string_view device) const {
    const auto isOf = [&](const RecordedChip& chip) {
        return !chip.isOpenElsewhere && !device.empty() &&
               (HasChannels(chip.type) ? device.substr(0, device.size() - 1) : device) ==
                   chip.serial;
    };
    const auto chip = std::ranges::find_if(chips, isOf);
    return chip != chips.end() ? std::optional(static_cast<std::size_t>(chip - chips.begin()))
                               : std::nullopt;
}

RecordedHardware HardwareOf(const Recording& recording) {
    RecordedHardware hardware;
    AddChips(recording, hardware);
    AddPorts(recording, hardware);
    AddBoard(recording, hardware);
    return hardware;
}

bool CarriesTheCamera(const Device& device) {
    return device.type == 0 ||
           (device.type == FT_DEVICE_2232H &&
            (device.description.ends_with(" B") || device.serial.ends_with('B')));
}

std::optional<std::set<std::size_t>>
ChipsListed(const Recording& recording, const RecordedHardware& hardware, std::size_t call) {
    const Call& asked = recording.calls[call].call;
    const Value& count = Output(asked, 0);
    if (asked.status != FT_OK || !IsThere(count)) {
        return std::nullopt;
    }
    if (Number(count) == 0) {
        return std::set<std::size_t>();
    }
    for (std::size_t i = call + 1; i < recording.calls.size(); ++i) {
        const Call& next = recording.calls[i].call;
        if (next.function.id == Function::FT_CreateDeviceInfoList) {
            break;
        }
        if (next.function.id != Function::FT_GetDeviceInfoList || next.status != FT_OK) {
            continue;
        }
        const std::vector<Device> nodes = NodesIn(next);
        std::set<std::size_t> chips;
        for (const Device& node : nodes) {
            const auto chip = hardware.ChipOf(node.serial);
            if (!chip) {
                return std::nullopt;
            }
            chips.insert(*chip);
        }
        return nodes.size() == Number(count) ? std::optional(chips) : std::nullopt;
    }
    return std::nullopt;
}

bool HasLeft(const Recording& recording, const RecordedHardware& hardware, std::size_t call) {
    const auto chip = hardware.ChipOf(recording.calls[call].handle);
    std::set<std::uint64_t> openedAfterwards;
    for (std::size_t i = call + 1; i < recording.calls.size(); ++i) {
        const Call& next = recording.calls[i].call;
        const bool isOpenEx = next.function.id == Function::FT_OpenEx;
        if (next.status != FT_OK || !recording.calls[i].returned) {
            continue;
        }
        if (next.function.id == Function::FT_Open || isOpenEx) {
            openedAfterwards.insert(Number(Output(next, isOpenEx ? 2 : 1)));
        }
        if (IsOnHandle(next) && next.function.id != Function::FT_Close &&
            hardware.ChipOf(recording.calls[i].handle) == chip &&
            !openedAfterwards.contains(Number(Input(next, 0)))) {
            return false;
        }
    }
    return true;
}

} // namespace rig::record
