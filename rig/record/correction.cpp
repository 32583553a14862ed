#include "correction.h"

#include <algorithm>
#include <cstring>

#include "call_parts.h"
#include "rig_state.h"
#include "stand_in.h"

namespace rig::record {

namespace {

/// Whether a call that worked gave the same things.
bool GivesTheSame(const Call& one, const Call& other) {
    for (std::size_t i = 0; one.status == 0 && i < one.inputs.size(); ++i) {
        if (IsThere(one.inputs[i]) && IsThere(Output(one, i)) != IsThere(Output(other, i))) {
            return false;
        }
    }
    return one.function.id != Function::FT_Read ||
           BytesOf(Output(one, 1)) == BytesOf(Output(other, 1));
}

/// Calls that change nothing, so that the rig can be asked in advance what it would answer.
bool IsQuestion(Function function) {
    switch (function) {
    case Function::FT_GetQueueStatus:
    case Function::FT_GetQueueStatusEx:
    case Function::FT_CreateDeviceInfoList: // it is about to be asked anyway
    case Function::FT_GetDeviceInfoList:
    case Function::EApiGPIOGetCount:
    case Function::EApiGPIOGetLevel:
    case Function::Inp32:
    case Function::IsInpOutDriverOpen:
        return true;
    default:
        return false;
    }
}

/// A call of the rig's own.
Call CallOf(Function function, std::vector<Value> inputs) {
    return {Described(function), std::move(inputs), {}};
}

} // namespace

std::string Fault(const Call& call, const std::string& what) {
    return std::string("fault ") + call.function.name + ' ' + what;
}

std::string Status(std::uint32_t status) {
    return "status=" + std::to_string(status);
}

std::string Count(std::uint32_t count) {
    return "count=" + std::to_string(count);
}

std::optional<std::size_t> ReportedPlace(const VendorFunction& function) {
    const auto& parameters = function.parameters;
    const auto found = std::ranges::find_if(parameters, &Parameter::isReported);
    return found != parameters.end()
               ? std::optional(static_cast<std::size_t>(found - parameters.begin()))
               : std::nullopt;
}

void FindOnBus(Call& call, const HandleNames& names) {
    constexpr std::uint32_t kNowhere = ~0U;
    const bool isByPlace =
        call.function.id == Function::FT_OpenEx && Word(Input(call, 1)) == usb::kByLocation;
    const Device* const device = isByPlace ? names.DeviceAt(Word(Input(call, 0))) : nullptr;
    if (device == nullptr) {
        return;
    }
    const auto list = [](std::uint32_t by) {
        Call listed = CallOf(Function::FT_ListDevices, {std::uint64_t{1}, std::uint64_t{1},
                                                        std::uint64_t{usb::kListAll | by}});
        AnswerPlainly(listed);
        return listed;
    };
    const Call bySerial = list(usb::kBySerialNumber);
    const Call byPlace = list(usb::kByLocation);
    const auto* const serials = std::get_if<Texts>(&Output(bySerial, 0));
    const std::string_view places = BytesOf(Output(byPlace, 0));
    std::uint32_t place = 0; // an open device has none
    for (std::size_t i = 0; serials != nullptr && i < serials->size(); ++i) {
        if ((*serials)[i] == device->serial && (i + 1) * sizeof place <= places.size()) {
            std::memcpy(&place, places.data() + i * sizeof place, sizeof place);
        }
    }
    call.inputs[0] = std::uint64_t{place != 0 ? place : kNowhere};
}

bool IsSameAnswer(const Call& one, const Call& other) {
    return TextOfAnswer(one) == TextOfAnswer(other) && GivesTheSame(one, other);
}

Correction::Correction(const Recording& whatWas, const RecordedHardware& itsHardware,
                       const RecordedLines& lines)
    : recording(whatWas), hardware(itsHardware) {
    for (const InputSample& sample : lines.samples) {
        samples.emplace(sample.call, sample);
    }
}

void Correction::Do(const std::string& action) {
    const Access rig;
    rig->Do(ReadAction(WordsOf(action), rig->Chips()));
    ++done;
}

bool Correction::Level(rig_line line) const {
    const Access rig;
    return rig->installation->Level(line);
}

void Correction::SetInputs(std::size_t index) {
    for (auto [sample, end] = samples.equal_range(index); sample != end; ++sample) {
        SetInput(sample->second.line, sample->second.level);
    }
}

void Correction::SetInput(rig_line line, bool level) {
    const std::string name = LineName(line);
    const auto is = [&] { return Level(line) == level; };
    if (!is() && forced.erase(line) != 0) {
        Do("force " + name + " free");
    }
    if (!is() && line == RIG_READY) {
        Do(level ? "ready on" : "ready off");
    } else if (!is() && level) {
        Do("mep latch");
    }
    if (!is()) {
        Do("force " + name + (level ? " 1" : " 0"));
        forced.insert(line);
    }
}

void Correction::Prepare(std::size_t index, const Call& call) {
    const RecordedCall& was = recording.calls[index];
    const Call& recorded = was.call;
    if (recorded.function.id == Function::FT_CreateDeviceInfoList) {
        SetChips(index);
    }
    if (recorded.function.id == Function::FT_Open || recorded.function.id == Function::FT_OpenEx) {
        PrepareOpening(recorded, call);
    } else if (IsQuestion(recorded.function.id)) {
        Call asked = CallOf(call.function.id, call.inputs);
        AnswerPlainly(asked);
        if (!IsSameAnswer(recorded, asked)) {
            PrepareQuestion(index, recorded, call);
        }
    } else if (&recorded.function.library == &kFtd2xx) {
        PrepareDevice(index, recorded, call);
    } else if (&recorded.function.library == &kEapi && IsAFault(recorded)) {
        Do(Fault(recorded, Status(recorded.status)));
    }
}

void Correction::PrepareQuestion(std::size_t index, const Call& recorded, const Call& call) {
    const auto place = ReportedPlace(recorded.function);
    if (recorded.function.id == Function::IsInpOutDriverOpen && recorded.status != 0) {
        Do("open-driver");
    } else if (&recorded.function.library == &kInpout || recorded.status != 0) {
        PrepareFailure(index, recorded, call);
    } else if (place && IsThere(Output(recorded, *place))) {
        Do(Fault(recorded, Count(Word(Output(recorded, *place)))));
    } else {
        Do(Fault(recorded, "silent"));
    }
}

bool Correction::IsAFault(const Call& recorded) const {
    using namespace eapi;
    const std::uint32_t status = recorded.status;
    const bool isOfArguments = status == EAPI_STATUS_INITIALIZED || status == kInvalidParameter ||
                               status == kInvalidDirection || status == kInvalidBitmask ||
                               (status == kUnsupported && IsOnPin(recorded) &&
                                Word(Input(recorded, 0)) >= hardware.gpios.value_or(0));
    return status != EAPI_STATUS_SUCCESS && hardware.gpios && !isOfArguments;
}

bool Correction::IsOnPin(const Call& call) {
    return call.function.id == Function::EApiGPIOSetDirection ||
           call.function.id == Function::EApiGPIOSetLevel;
}

std::uint32_t Correction::Refusal(const Call& call) const {
    const Access rig;
    return StandInFor(call.function.library).refusal(call);
}

void Correction::PrepareFailure(std::size_t index, const Call& recorded, const Call& call) {
    if (IsOnHandle(call) && Refusal(call) == recorded.status) {
        return;
    }
    const auto chip = hardware.ChipOf(recording.calls[index].handle);
    if (IsOnHandle(call) && recorded.status == usb::kIoError && chip &&
        HasLeft(recording, hardware, index)) {
        Do("unplug " + std::to_string(*chip));
    } else {
        Do(Fault(recorded, Status(recorded.status)));
    }
}

void Correction::PrepareDevice(std::size_t index, const Call& recorded, const Call& call) {
    const auto place = ReportedPlace(recorded.function);
    if (recorded.function.id == Function::FT_Close) {
        return; // whether it works shows afterwards
    }
    if (recorded.status != FT_OK) {
        if (place && IsThere(Output(recorded, *place))) {
            Do(Fault(recorded,
                     Status(recorded.status) + ' ' + Count(Word(Output(recorded, *place)))));
        } else {
            PrepareFailure(index, recorded, call);
        }
    } else if (recorded.function.id == Function::FT_Write) {
        const bool isThere = IsThere(Output(recorded, 3));
        const std::uint32_t written = Word(Output(recorded, 3));
        if (!isThere || written != BytesOf(Input(recorded, 1)).size()) {
            Do(Fault(recorded, isThere ? Count(written) : "silent"));
        }
    } else if (recorded.function.id == Function::FT_Read) {
        PrepareRead(recorded, call);
    }
}

void Correction::PrepareRead(const Call& recorded, const Call& call) {
    if (!IsThere(Output(recorded, 3))) {
        Do(Fault(recorded, "silent"));
        return;
    }
    Call waiting = CallOf(Function::FT_GetQueueStatus, {call.inputs.front(), std::uint64_t{1}});
    AnswerPlainly(waiting);
    const std::uint32_t read = Word(Output(recorded, 3));
    if (read < Word(Input(call, 2)) && read < Word(Output(waiting, 1))) {
        Do(Fault(recorded, Count(read)));
    }
}

void Correction::SetChips(std::size_t index) {
    const auto listed = ChipsListed(recording, hardware, index);
    if (!listed) {
        return;
    }
    const std::set<std::size_t> present = PresentChips();
    for (std::size_t chip = 0; chip < hardware.chips.size(); ++chip) {
        if (listed->contains(chip) != present.contains(chip) &&
            !hardware.chips[chip].isOpenElsewhere) {
            Do((listed->contains(chip) ? "plug " : "unplug ") + std::to_string(chip));
        }
    }
}

std::set<std::size_t> Correction::PresentChips() const {
    constexpr std::uint64_t kRoom = 64;
    Call count = CallOf(Function::FT_CreateDeviceInfoList, {std::uint64_t{1}});
    Call list = CallOf(Function::FT_GetDeviceInfoList, {std::uint64_t{1}, kRoom});
    AnswerPlainly(count);
    AnswerPlainly(list);
    std::set<std::size_t> chips;
    for (const Device& device : DevicesIn(BytesOf(Output(list, 0)))) {
        if (const auto chip = hardware.ChipOf(device.serial)) {
            chips.insert(*chip);
        }
    }
    return chips;
}

void Correction::PrepareOpening(const Call& recorded, const Call& call) {
    const std::size_t place = recorded.function.id == Function::FT_OpenEx ? 2 : 1;
    Call asked = CallOf(call.function.id, call.inputs);
    AnswerPlainly(asked);
    if (asked.status == FT_OK && IsThere(Output(asked, place))) {
        Call close = CallOf(Function::FT_Close, {Output(asked, place)});
        AnswerPlainly(close);
    }
    if (recorded.status != asked.status && recorded.status != FT_OK) {
        Do(Fault(recorded, Status(recorded.status) +
                               (IsThere(Output(recorded, place)) ? ' ' + Count(~0U) : "")));
    } else if (recorded.status == FT_OK && !IsThere(Output(recorded, place))) {
        Do(Fault(recorded, "silent"));
    } else if (recorded.status == FT_OK && asked.status == usb::kDeviceNotFound) {
        PlugAll();
    }
}

void Correction::PlugAll() {
    const std::set<std::size_t> present = PresentChips();
    for (std::size_t chip = 0; chip < hardware.chips.size(); ++chip) {
        if (!present.contains(chip)) {
            Do("plug " + std::to_string(chip));
        }
    }
}

} // namespace rig::record
