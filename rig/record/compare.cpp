#include "compare.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <stdexcept>

#include "correction.h"
#include "hardware_scenario.h"
#include "recorded_hardware.h"
#include "recorded_lines.h"
#include "recording_values.h"
#include "rig_state.h"
#include "simulation.h"

namespace rig::record {

namespace {

using Node = FT_DEVICE_LIST_INFO_NODE;

bool HasFailed(const Call& call) {
    const Library* const library = &call.function.library;
    return library == &kWmi      ? static_cast<std::int32_t>(call.status) < 0
           : library == &kInpout ? false // its functions have no status
                                 : call.status != 0;
}

/// The result that a host gets: Inp32 returns 16 bits, Out32 nothing.
std::uint32_t Result(const Call& call) {
    return call.function.result == Show::No     ? 0
           : &call.function.library == &kInpout ? call.status & 0xFFFF
                                                : call.status;
}

bool IsOfThePc(Function function) {
    return function == Function::FT_GetDriverVersion ||
           function == Function::FT_GetLibraryVersion || function == Function::EApiGetEAPIVersion ||
           function == Function::FT_GetComPortNumber;
}

bool CountsWaitingBytes(Function function) {
    return function == Function::FT_GetQueueStatus || function == Function::FT_GetQueueStatusEx ||
           function == Function::FT_GetStatus;
}

/// Clears what follows the end of a text.
template <std::size_t size>
void ClearAfterEnd(char (&text)[size]) {
    std::fill(std::find(text, text + size, '\0'), text + size, '\0');
}

void ClearWhatIsOfThePc(std::string& nodes) {
    for (std::size_t place = 0; place + sizeof(Node) <= nodes.size(); place += sizeof(Node)) {
        Node node;
        std::memcpy(&node, nodes.data() + place, sizeof node);
        node.LocId = 0;
        ClearAfterEnd(node.SerialNumber);
        ClearAfterEnd(node.Description);
        std::memcpy(nodes.data() + place, &node, sizeof node);
    }
}

/// The outputs of a call, without those that may differ.
std::vector<Value> Comparable(const Call& call) {
    constexpr std::size_t kLocationOfDetail = 4;
    std::vector<Value> outputs = call.outputs;
    outputs.resize(call.inputs.size());
    const bool listsLocations = call.function.id == Function::FT_ListDevices &&
                                (Number(call.inputs.back()) & usb::kByLocation) != 0;
    if (HasFailed(call) || IsOfThePc(call.function.id) || listsLocations) {
        outputs.assign(call.inputs.size(), {});
    }
    for (std::size_t i = 0; i < outputs.size(); ++i) {
        if (!IsThere(call.inputs[i])) { // the host does not want it
            outputs[i] = {};
        }
    }
    if (call.function.id == Function::FT_GetDeviceInfoDetail) {
        outputs[kLocationOfDetail] = {};
    } else if (call.function.id == Function::FT_GetDeviceInfoList) {
        if (auto* const nodes = std::get_if<std::string>(&outputs[0])) {
            ClearWhatIsOfThePc(*nodes);
        }
    }
    return outputs;
}

/// Finds the calls after which the host asks the same device for its waiting bytes once more.
std::vector<bool> AskedOnceMore(const Recording& recording) {
    std::vector<bool> isAskedOnceMore(recording.calls.size());
    std::map<std::uint64_t, bool> isNext; ///< by handle
    for (std::size_t i = recording.calls.size(); i-- > 0;) {
        if (const auto handle = HandleOf(recording.calls[i].call)) {
            bool& next = isNext[*handle];
            const bool counts = CountsWaitingBytes(recording.calls[i].call.function.id);
            isAskedOnceMore[i] = counts && next;
            next = counts;
        }
    }
    return isAskedOnceMore;
}

/// The scenario, in which the rig's time is that of the recorded calls.
std::string AtRecordedTimes(const Recording& recording, std::string scenario) {
    if (ParseScenario(scenario).session) {
        return scenario; // it has them
    }
    scenario += "\n[session]\ncalls_ns = [0";
    Microseconds last = 0;
    for (const RecordedCall& one : recording.calls) {
        const Microseconds time = std::max(last, one.begun);
        scenario += ',' + std::to_string((time - last) * 1000);
        last = time;
    }
    return scenario + "]\n";
}

void Load(const std::string& scenario) {
    const Access rig;
    if (!rig->LoadText(scenario)) {
        throw std::runtime_error(rig->Error());
    }
}

/// What happened to the hardware of a recording from outside.
class RecordedEvents {
  public:
    explicit RecordedEvents(const Recording& whatWas)
        : recording(whatWas), hardware(HardwareOf(whatWas)), lines(LinesOf(whatWas)),
          correction(recording, hardware, lines) {
        Load(AtRecordedTimes(recording, HardwareScenario(recording, hardware, lines)));
    }

    /// Does what must have happened before the call.
    void ComeTo(std::size_t index) {
        {
            const Access rig;
            rig->timeline.MoveTo(recording.calls[index].begun * 1000);
            const RecordedCall& one = recording.calls[index];
            const bool isList = one.call.function.id == Function::FT_CreateDeviceInfoList;
            const auto listed = isList ? ChipsListed(recording, hardware, index) : std::nullopt;
            for (std::size_t chip = 0; listed && chip < hardware.chips.size(); ++chip) {
                rig->SetPlugged(static_cast<unsigned>(chip), listed->contains(chip));
            }
            const auto chip = hardware.ChipOf(one.handle);
            if (chip && one.call.status == usb::kIoError && HasLeft(recording, hardware, index)) {
                rig->SetPlugged(static_cast<unsigned>(*chip), false);
            }
        }
        correction.SetInputs(index);
    }

  private:
    const Recording& recording;
    const RecordedHardware hardware;
    const RecordedLines lines;
    Correction correction;
};

} // namespace

Comparison Compare(const Recording& recording, const std::optional<std::string>& scenario) {
    std::optional<RecordedEvents> events;
    if (scenario) {
        Load(AtRecordedTimes(recording, *scenario));
    } else {
        events.emplace(recording);
    }
    Comparison comparison;
    Simulation simulation;
    const std::vector<bool> isAskedOnceMore = AskedOnceMore(recording);
    for (std::size_t i = 0; i < recording.calls.size(); ++i) {
        const RecordedCall& one = recording.calls[i];
        const auto handle = HandleOf(one.call);
        if (events) {
            events->ComeTo(i);
        }
        const bool isOpen = !handle || simulation.Knows(*handle);
        Call simulated = one.call;
        simulation.Follow(simulated);
        if (!one.returned) {
            ++comparison.unreturned;
            continue;
        }
        if (!isOpen && !HasFailed(one.call)) {
            ++comparison.unopened;
            continue;
        }
        ++comparison.compared;
        const auto recordedOutputs = Comparable(one.call);
        const auto simulatedOutputs = Comparable(simulated);
        if (Result(one.call) == Result(simulated) &&
            (isAskedOnceMore[i] || recordedOutputs == simulatedOutputs)) {
            continue;
        }
        Difference difference{one.number, QuestionOf(one), AnswerOf(one.call), AnswerOf(simulated)};
        if (difference.recorded == difference.simulated) { // they differ where the text is cut
            AppendValues(difference.recorded += " with", recordedOutputs);
            AppendValues(difference.simulated += " with", simulatedOutputs);
        }
        comparison.differences.push_back(std::move(difference));
    }
    return comparison;
}

} // namespace rig::record
