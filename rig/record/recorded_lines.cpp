#include "recorded_lines.h"

#include <algorithm>
#include <map>
#include <set>

#include "call_parts.h"
#include "channel_record.h"
#include "gpio_board.h"
#include "handle_names.h"
#include "parallel_port.h"
#include "pin_record.h"
#include "recorded_hardware.h"
#include "super_io.h"

namespace rig::record {

namespace {

constexpr std::uint32_t kEightPins = 0xFF;

/// Follows all calls of a recording.
class Follower {
  public:
    explicit Follower(const Recording& all) : recording(all) {
        if (hardware.parallelPort) { // it always drives its lines
            data.SetOutputs(kEightPins, now);
            control.SetOutputs(kEightPins, now);
        }
    }

    RecordedLines Follow() {
        for (const std::size_t index : InOrderOfReturn(recording)) {
            const RecordedCall& recorded = recording.calls[index];
            now = {recorded.returned.value(), index, now.order + kMostInACall};
            const Call& call = recorded.call;
            if (&call.function.library == &kFtd2xx) {
                FollowUsb(call);
            } else if (&call.function.library == &kEapi) {
                FollowBoard(call);
            } else if (&call.function.library == &kInpout) {
                FollowPorts(call);
            }
        }
        log.WriteTo(lines);
        AddCaptures();
        std::ranges::stable_sort(lines.events, {}, &LineEvent::time);
        return std::move(lines);
    }

  private:
    /// More commands than a call can have bytes.
    static constexpr std::size_t kMostInACall = std::size_t{1} << 32;

    void AddEvent(std::string text) {
        lines.events.push_back({now.time, std::move(text), now.call});
    }

    void FollowUsb(const Call& call) {
        const Device* const device =
            IsOnHandle(call) ? names.DeviceOf(Number(Input(call, 0))) : nullptr;
        if (call.function.id == Function::FT_CreateDeviceInfoList) {
            FollowList();
        }
        if (device != nullptr && call.status == usb::kIoError &&
            HasLeft(recording, hardware, now.call)) {
            Leave(device->serial);
        } else if (call.status != FT_OK) {
            AddEvent(std::string("fault ") + call.function.name);
        } else if (device != nullptr && CarriesTheCamera(*device)) {
            FollowChannel(ChannelOf(device->serial), call, device->serial);
        } else if (device != nullptr && IsPortReset(call)) {
            Leave(device->serial);
        }
        names.Learn(call);
        FollowOpening(call);
    }

    static bool IsPortReset(const Call& call) {
        return call.function.id == Function::FT_ResetPort ||
               call.function.id == Function::FT_CyclePort;
    }

    void FollowChannel(ChannelRecord& channel, const Call& call, const std::string& serial) {
        switch (call.function.id) {
        case Function::FT_Write:
            channel.Write(BytesOf(Input(call, 1)).substr(0, Word(Output(call, 3))), now);
            break;
        case Function::FT_Read:
            channel.Read(BytesOf(Output(call, 1)));
            break;
        case Function::FT_SetBitMode:
            channel.Enter(Word(Input(call, 2)) == FT_BITMODE_MPSSE, now);
            break;
        case Function::FT_Purge:
            if ((Word(Input(call, 1)) & 1) != 0) { // what was received
                channel.ForgetAnswers();
            }
            break;
        case Function::FT_ResetDevice:
            channel.ForgetAnswers();
            break;
        default:
            if (IsPortReset(call)) {
                Leave(serial);
            }
            break;
        }
    }

    ChannelRecord& ChannelOf(const std::string& serial) {
        return channels.try_emplace(serial, log).first->second;
    }

    /// A device was opened: its chip is there, and nothing is left in its queue.
    void FollowOpening(const Call& call) {
        const bool isOpenEx = call.function.id == Function::FT_OpenEx;
        if (call.status != FT_OK || (call.function.id != Function::FT_Open && !isOpenEx)) {
            return;
        }
        const Device* const device = names.DeviceOf(Number(Output(call, isOpenEx ? 2 : 1)));
        if (device != nullptr) {
            Return(device->serial);
            if (CarriesTheCamera(*device)) {
                ChannelOf(device->serial).ForgetAnswers();
            }
        }
    }

    void FollowList() {
        const auto listed = ChipsListed(recording, hardware, now.call);
        for (std::size_t chip = 0; listed && chip < hardware.chips.size(); ++chip) {
            if (hardware.chips[chip].isOpenElsewhere) {
                continue;
            }
            listed->contains(chip) ? ReturnChip(chip) : LeaveChip(chip);
        }
    }

    void Leave(const std::string& serial) {
        if (const auto chip = hardware.ChipOf(serial)) {
            LeaveChip(*chip);
        }
    }

    void Return(const std::string& serial) {
        if (const auto chip = hardware.ChipOf(serial)) {
            ReturnChip(*chip);
        }
    }

    /// A chip that leaves lets go of its lines.
    void LeaveChip(std::size_t chip) {
        if (away.insert(chip).second && present.contains(chip)) {
            AddEvent("unplug " + std::to_string(chip));
            for (auto& [serial, channel] : channels) {
                if (hardware.ChipOf(serial) == chip) {
                    channel.Enter(false, now);
                }
            }
        }
    }

    void ReturnChip(std::size_t chip) {
        const bool wasAway = away.erase(chip) != 0;
        if (!present.insert(chip).second && wasAway) {
            AddEvent("plug " + std::to_string(chip));
        }
    }

    /// The pins of a board that a call names: one, or those of a bank.
    static std::uint32_t BoardPins(const Call& call) {
        constexpr std::uint32_t kFirstBank = 0x10000;
        const std::uint32_t id = Word(Input(call, 0));
        return id == kFirstBank ? Word(Input(call, 1)) : id < 32 ? std::uint32_t{1} << id : 0;
    }

    /// The levels in a parameter, as those pins have them.
    static std::uint32_t BoardLevels(const Call& call, const Value& value) {
        const std::uint32_t id = Word(Input(call, 0));
        return id < 32 ? Word(value) << id : Word(value);
    }

    void FollowBoard(const Call& call) {
        const std::uint32_t pins = BoardPins(call);
        if (call.status != EAPI_STATUS_SUCCESS) {
            if (hardware.gpios) { // else there is no board that could fail
                AddEvent(std::string("fault ") + call.function.name);
            }
        } else if (call.function.id == Function::EApiGPIOSetDirection) {
            const std::uint32_t inputs = BoardLevels(call, Input(call, 2)) & pins; // 1 = input
            board.SetOutputs((board.Outputs() & ~pins) | (pins & ~inputs), now);
        } else if (call.function.id == Function::EApiGPIOSetLevel) {
            board.SetLevels(BoardLevels(call, Input(call, 2)), pins, now);
        } else if (call.function.id == Function::EApiGPIOGetLevel && IsThere(Output(call, 2))) {
            board.Read(BoardLevels(call, Output(call, 2)), pins, now);
        }
    }

    void FollowPorts(const Call& call) {
        const auto port = static_cast<std::uint16_t>(Word(Input(call, 0)));
        if (call.function.id == Function::IsInpOutDriverOpen) {
            isDriverOpen = call.status != 0;
        } else if (!isDriverOpen) {
            return;
        } else if (call.function.id == Function::Out32) {
            Write(port, static_cast<std::uint8_t>(Word(Input(call, 1))));
        } else if (call.function.id == Function::Inp32 && call.status <= kEightPins) {
            Read(port, call.status);
        }
    }

    void Write(std::uint16_t port, std::uint8_t value) {
        if (port == io::SuperIo::kIndexPort) {
            superIo.WriteIndex(value);
        } else if (port == io::SuperIo::kDataPort) {
            WriteRegister(value);
        } else if (port == hardware.parallelPort) {
            data.SetLevels(value, kEightPins, now);
        } else if (port == hardware.parallelPort.value_or(0) + kControl) {
            control.SetLevels(value, kEightPins, now);
        }
    }

    void WriteRegister(std::uint8_t value) {
        superIo.keys = 0;
        if (superIo.isConfiguring && superIo.index == io::kLogicalDevice) {
            superIo.logicalDevice = value;
        } else if (superIo.IsOfGpio() && superIo.index == io::kDirections) {
            bank.SetOutputs(~std::uint32_t{value} & kEightPins, now);
        } else if (superIo.IsOfGpio() && superIo.index == io::kData) {
            bank.SetLevels(value, kEightPins, now);
        }
    }

    void Read(std::uint16_t port, std::uint32_t value) {
        const std::uint32_t base = hardware.parallelPort.value_or(0);
        if (port == io::SuperIo::kDataPort) {
            if (superIo.IsOfGpio() && superIo.index == io::kData) {
                bank.Read(value, kEightPins, now);
            } else if (superIo.IsOfGpio() && superIo.index == io::kDirections) {
                bank.SetOutputs(~value & kEightPins, now);
            }
        } else if (port == base) {
            data.Read(value, kEightPins, now);
        } else if (port == base + kStatus) {
            status.Read(value, kEightPins, now);
        } else if (port == base + kControl) {
            control.Read(value, kEightPins, now);
        }
    }

    /// A trigger took a picture if the camera was seen busy after it, and ready before; or if the
    /// MEP flag was seen latched after it, and not before.
    void AddCaptures() {
        for (std::size_t i = 0; i < lines.changes.size(); ++i) {
            const LineChange& rise = lines.changes[i];
            if (rise.line != RIG_TRIGGER || rise.level != true) {
                continue;
            }
            const auto next =
                std::find_if(lines.changes.begin() + static_cast<std::ptrdiff_t>(i) + 1,
                             lines.changes.end(), [](const LineChange& change) {
                                 return change.line == RIG_TRIGGER && change.level == true;
                             });
            const std::size_t end =
                next != lines.changes.end() ? next->call : recording.calls.size();
            if (Turns(RIG_READY, false, rise.call, end) || Turns(RIG_MEP, true, rise.call, end)) {
                lines.events.push_back({rise.time, "capture", rise.call});
            }
        }
    }

    /// Whether the last look before a call saw the other level, and one of those until `end` saw
    /// this.
    bool Turns(rig_line line, bool to, std::size_t from, std::size_t end) const {
        std::optional<bool> before;
        for (const InputSample& sample : lines.samples) {
            if (sample.line == line && sample.call < from) {
                before = sample.level;
            } else if (sample.line == line && sample.call < end && sample.level == to) {
                return before == !to;
            }
        }
        return false;
    }

    static constexpr std::uint16_t kStatus = 1; ///< after the data register
    static constexpr std::uint16_t kControl = 2;

    const Recording& recording;
    const RecordedHardware hardware = HardwareOf(recording);
    RecordedLines lines;
    LineLog log;
    Instant now;
    HandleNames names;
    std::map<std::string, ChannelRecord> channels; ///< by serial number
    std::set<std::size_t> present;                 ///< chips that were seen at any time
    std::set<std::size_t> away;
    PinRecord board{log, eapi::kBoardWires};
    PinRecord bank{log, io::BankWires()};
    PinRecord data{log, io::kDataWires};
    PinRecord status{log, io::kStatusWires};
    PinRecord control{log, io::kControlWires};
    io::RegisterSelection superIo;
    bool isDriverOpen = true; ///< until a question is answered with no
};

} // namespace

RecordedLines LinesOf(const Recording& recording) {
    return Follower(recording).Follow();
}

std::vector<std::size_t> InOrderOfReturn(const Recording& recording) {
    std::vector<std::size_t> order;
    for (std::size_t i = 0; i < recording.calls.size(); ++i) {
        if (recording.calls[i].returned) {
            order.push_back(i);
        }
    }
    std::ranges::stable_sort(order, {}, [&](std::size_t i) { return recording.calls[i].returned; });
    return order;
}

} // namespace rig::record
