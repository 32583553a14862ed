#include "recorded_scenario.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <stdexcept>
#include <utility>

#include "call_parts.h"
#include "commands.h"
#include "front.h"
#include "hardware_scenario.h"
#include "recorded_hardware.h"
#include "recorded_lines.h"
#include "rig_state.h"

namespace rig::record {

namespace {

using Actions = std::vector<std::string>; ///< in the words of commands

std::string Fault(const Call& call, const std::string& what) {
    return std::string("fault ") + call.function.name + ' ' + what;
}

std::string Status(std::uint32_t status) {
    return "status=" + std::to_string(status);
}

std::string Count(std::uint32_t count) {
    return "count=" + std::to_string(count);
}

/// The place of the output that a fault's count sets; none if the function has none.
std::optional<std::size_t> ReportedPlace(const VendorFunction& function) {
    const auto& parameters = function.parameters;
    const auto found = std::ranges::find_if(parameters, &Parameter::isReported);
    return found != parameters.end()
               ? std::optional(static_cast<std::size_t>(found - parameters.begin()))
               : std::nullopt;
}

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

/// Whether a host sees the same.
bool IsSameAnswer(const Call& one, const Call& other) {
    return TextOfAnswer(one) == TextOfAnswer(other) && GivesTheSame(one, other);
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

Call Copy(const Call& call) {
    return {call.function, call.inputs, {}};
}

/// Puts a recording's calls to the rig, and does to the rig what makes it answer as the real
/// hardware.
class Explanation {
  public:
    Explanation(const Recording& whatWas, const RecordedHardware& itsHardware,
                const RecordedLines& lines)
        : recording(whatWas), hardware(itsHardware) {
        for (const InputSample& sample : lines.samples) {
            samples.emplace(sample.call, sample);
        }
    }

    /// The scenario's text, without comments.
    std::string Find(const std::string& hardwareText) {
        std::size_t runs = 0;
        do {
            Load(hardwareText + AtRecordedTimes());
            RunAll();
        } while (isToRunAgain && ++runs < kMostRuns);
        return Perform({"keep"}, false).text;
    }

    /// The answers with a scenario, as it is.
    std::vector<OtherAnswer> Check(const std::string& scenario) {
        Load(scenario);
        others.clear();
        for (const RecordedCall& recorded : recording.calls) {
            Call call = Asked(recorded);
            AnswerHere(call);
            Compare(recorded, call);
        }
        return others;
    }

    std::size_t faults = 0;

  private:
    /// A recording that needs more is not explained any better by more.
    static constexpr std::size_t kMostRuns = 200;

    void Load(const std::string& scenario) {
        const Access rig;
        if (!rig->LoadText(scenario)) {
            throw std::runtime_error("the scenario is none: " + rig->Error());
        }
        handles.clear();
    }

    /// A session in which the rig's time is that of the recorded calls, until after the last one.
    std::string AtRecordedTimes() const {
        std::string times = "[session]\ncalls_ns = [0";
        Microseconds last = 0;
        for (const RecordedCall& recorded : recording.calls) {
            const Microseconds time = std::max(last, recorded.begun);
            times += ", " + std::to_string((time - last) * 1000);
            last = time;
        }
        return times + ", 0]\n";
    }

    void RunAll() {
        isToRunAgain = false;
        faults = 0;
        forced.clear();
        for (std::size_t i = 0; i < recording.calls.size() && !isToRunAgain; ++i) {
            Run(i);
        }
    }

    void Run(std::size_t index) {
        const RecordedCall& recorded = recording.calls[index];
        {
            const Access rig;
            rig->timeline.MoveTo(recorded.begun * 1000);
        }
        Call call = Asked(recorded);
        const std::size_t before = faults;
        if (recorded.returned) {
            SetInputs(index);
            if (const auto decision = decisions.find(index); decision != decisions.end()) {
                if (decision->second < Alternatives(recorded.call).size()) {
                    Do(Alternatives(recorded.call)[decision->second]);
                }
            } else {
                Prepare(index, call);
            }
        }
        faults = std::min(faults, before + 1);
        AnswerHere(call);
        Pair(recorded.call, call);
        if (recorded.returned && !IsSameAnswer(recorded.call, call)) {
            Decide(index, recorded.call, call);
        }
    }

    /// The answer differs: tries the next alternative for this call, or for an earlier one.
    void Decide(std::size_t index, const Call& recorded, const Call& simulated) {
        if (const auto culprit = Culprit(index, recorded, simulated)) {
            decisions.erase(decisions.upper_bound(*culprit), decisions.end());
            decisions[*culprit] = OtherEffect(recording.calls[*culprit].call);
            isToRunAgain = true;
            return;
        }
        const std::size_t count = Alternatives(recorded).size();
        const auto decision = decisions.find(index);
        const std::size_t next = decision == decisions.end() ? 0 : decision->second + 1;
        if (next <= count) { // the last one does nothing: it cannot be expressed
            decisions[index] = next;
            isToRunAgain = next < count || decision != decisions.end();
        }
    }

    /// What can be done before a call to change its answer.
    static std::vector<std::string> Alternatives(const Call& recorded) {
        std::vector<std::string> alternatives;
        const auto place = ReportedPlace(recorded.function);
        const bool isReported = place && IsThere(Output(recorded, *place));
        const std::string count = isReported ? Count(Word(Output(recorded, *place))) : Count(~0U);
        if (recorded.status != 0) {
            alternatives.push_back(Fault(recorded, Status(recorded.status)));
            alternatives.push_back(Fault(recorded, Status(recorded.status) + ' ' + count));
        } else {
            if (isReported) {
                alternatives.push_back(Fault(recorded, count));
            }
            alternatives.push_back(Fault(recorded, "silent"));
            if (recorded.function.result != Show::No) {
                alternatives.push_back(Fault(recorded, Status(0) + ' ' + count));
            }
        }
        return alternatives;
    }

    /// The alternative in which a call had the other effect: it was done, although it failed; or it
    /// did nothing, although it succeeded.
    static std::size_t OtherEffect(const Call& recorded) {
        const auto alternatives = Alternatives(recorded);
        const auto silent = std::ranges::find(alternatives, Fault(recorded, "silent"));
        return recorded.status != 0 ? 1 : static_cast<std::size_t>(silent - alternatives.begin());
    }

    /// An earlier call whose effect was another than it seemed: for the rig the device is still
    /// open, or not any more; or the board's library initialised.
    std::optional<std::size_t> Culprit(std::size_t index, const Call& recorded,
                                       const Call& simulated) const {
        const bool works = recorded.status == 0;
        const Function function = recorded.function.id;
        const bool isHeld =
            function == Function::FT_Open && works && simulated.status == usb::kDeviceNotOpened;
        const bool isLost =
            IsOnHandle(recorded) && works &&
            (simulated.status == usb::kIoError || simulated.status == usb::kInvalidHandle);
        const bool isEnded =
            &recorded.function.library == &kEapi && simulated.status == eapi::kNotInitialised;
        const bool isNotEnded =
            function == Function::EApiLibInitialize && recorded.status == EAPI_STATUS_INITIALIZED;
        const auto isSuspect = [&](const Call& earlier) {
            const bool worked = earlier.status == 0;
            switch (earlier.function.id) {
            case Function::FT_Close:
                return (isHeld && !worked) ||
                       (isLost && worked && Input(earlier, 0) == Input(recorded, 0));
            case Function::FT_ResetPort:
            case Function::FT_CyclePort:
                return isLost && worked;
            case Function::EApiLibInitialize:
                return isEnded && !worked;
            case Function::EApiLibUnInitialize:
                return (isNotEnded && worked) || (isEnded && worked);
            default:
                return false;
            }
        };
        for (std::size_t i = index; i-- > 0;) {
            const Call& earlier = recording.calls[i].call;
            const auto decision = decisions.find(i);
            if (isSuspect(earlier) &&
                (decision == decisions.end() || decision->second != OtherEffect(earlier))) {
                return i;
            }
        }
        return std::nullopt;
    }

    void Do(const std::string& action) {
        const Access rig;
        rig->Do(ReadAction(WordsOf(action), rig->Chips()));
        ++faults;
    }

    bool Level(rig_line line) const {
        const Access rig;
        return rig->installation->Level(line);
    }

    /// The camera's outputs become what the call is known to have seen.
    void SetInputs(std::size_t index) {
        for (auto [sample, end] = samples.equal_range(index); sample != end; ++sample) {
            SetInput(sample->second.line, sample->second.level);
        }
    }

    void SetInput(rig_line line, bool level) {
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

    /// Does what makes the rig answer a call as it was answered.
    void Prepare(std::size_t index, const Call& call) {
        const RecordedCall& was = recording.calls[index];
        const Call& recorded = was.call;
        if (recorded.function.id == Function::FT_CreateDeviceInfoList) {
            SetChips(index);
        }
        if (recorded.function.id == Function::FT_Open ||
            recorded.function.id == Function::FT_OpenEx) {
            PrepareOpening(recorded, call);
        } else if (IsQuestion(recorded.function.id)) {
            Call asked = Copy(call);
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

    void PrepareQuestion(std::size_t index, const Call& recorded, const Call& call) {
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

    /// A board's functions refuse what is wrong with their arguments by themselves.
    bool IsAFault(const Call& recorded) const {
        using namespace eapi;
        const std::uint32_t status = recorded.status;
        const bool isOfArguments = status == EAPI_STATUS_INITIALIZED ||
                                   status == kInvalidParameter || status == kInvalidDirection ||
                                   status == kInvalidBitmask ||
                                   (status == kUnsupported && IsOnPin(recorded) &&
                                    Word(Input(recorded, 0)) >= hardware.gpios.value_or(0));
        return status != EAPI_STATUS_SUCCESS && hardware.gpios && !isOfArguments;
    }

    static bool IsOnPin(const Call& call) {
        return call.function.id == Function::EApiGPIOSetDirection ||
               call.function.id == Function::EApiGPIOSetLevel;
    }

    std::uint32_t Refusal(const Call& call) const {
        const Access rig;
        const auto front = std::ranges::find_if(
            Fronts(), [&](const Front& one) { return &one.library == &call.function.library; });
        return front->refusal(call);
    }

    void PrepareFailure(std::size_t index, const Call& recorded, const Call& call) {
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

    void PrepareDevice(std::size_t index, const Call& recorded, const Call& call) {
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

    void PrepareRead(const Call& recorded, const Call& call) {
        if (!IsThere(Output(recorded, 3))) {
            Do(Fault(recorded, "silent"));
            return;
        }
        Call waiting{VendorFunctions()[static_cast<std::size_t>(Function::FT_GetQueueStatus)],
                     {call.inputs.front(), std::uint64_t{1}},
                     {}};
        AnswerPlainly(waiting);
        const std::uint32_t read = Word(Output(recorded, 3));
        if (read < Word(Input(call, 2)) && read < Word(Output(waiting, 1))) {
            Do(Fault(recorded, Count(read)));
        }
    }

    /// The chips on the bus become those of the list.
    void SetChips(std::size_t index) {
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

    /// Those that the rig has on its bus.
    std::set<std::size_t> PresentChips() const {
        constexpr std::uint64_t kRoom = 64;
        Call count{VendorFunctions()[static_cast<std::size_t>(Function::FT_CreateDeviceInfoList)],
                   {std::uint64_t{1}},
                   {}};
        Call list{VendorFunctions()[static_cast<std::size_t>(Function::FT_GetDeviceInfoList)],
                  {std::uint64_t{1}, kRoom},
                  {}};
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

    /// Opens in advance, to see what would happen.
    void PrepareOpening(const Call& recorded, const Call& call) {
        const std::size_t place = recorded.function.id == Function::FT_OpenEx ? 2 : 1;
        Call asked = Copy(call);
        AnswerPlainly(asked);
        if (asked.status == FT_OK && IsThere(Output(asked, place))) {
            Call close{VendorFunctions()[static_cast<std::size_t>(Function::FT_Close)],
                       {Output(asked, place)},
                       {}};
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

    void PlugAll() {
        const std::set<std::size_t> present = PresentChips();
        for (std::size_t chip = 0; chip < hardware.chips.size(); ++chip) {
            if (!present.contains(chip)) {
                Do("plug " + std::to_string(chip));
            }
        }
    }

    /// The call with the rig's handle.
    Call Asked(const RecordedCall& recorded) const {
        Call call = Copy(recorded.call);
        if (IsOnHandle(call) && !call.inputs.empty()) {
            const auto found = handles.find(Number(call.inputs.front()));
            if (found != handles.end()) {
                call.inputs.front() = found->second;
            }
        }
        return call;
    }

    void Pair(const Call& recorded, const Call& simulated) {
        const std::size_t place = recorded.function.id == Function::FT_OpenEx ? 2 : 1;
        const bool opens = recorded.function.id == Function::FT_Open || place == 2;
        if (opens && IsThere(Output(recorded, place)) && IsThere(Output(simulated, place))) {
            handles[Number(Output(recorded, place))] = Number(Output(simulated, place));
        }
    }

    void Compare(const RecordedCall& recorded, const Call& call) {
        Pair(recorded.call, call);
        if (recorded.returned && !IsSameAnswer(recorded.call, call)) {
            others.push_back({recorded.number, QuestionOf(recorded) + TextOfAnswer(recorded.call),
                              QuestionOf(recorded) + TextOfAnswer(call)});
        }
    }

    const Recording& recording;
    const RecordedHardware& hardware;
    std::multimap<std::size_t, InputSample> samples; ///< by the index of their call
    std::map<std::uint64_t, std::uint64_t> handles;  ///< the rig's, by the recording's
    std::set<rig_line> forced;
    std::map<std::size_t, std::size_t> decisions; ///< an alternative, by the index of its call
    bool isToRunAgain = false;
    std::vector<OtherAnswer> others;
};

} // namespace

RecordedScenario ScenarioOf(const Recording& recording) {
    const RecordedHardware hardware = HardwareOf(recording);
    const RecordedLines lines = LinesOf(recording);
    Explanation explanation(recording, hardware, lines);
    RecordedScenario scenario;
    scenario.text = explanation.Find(HardwareScenario(recording, hardware, lines));
    scenario.faults = explanation.faults;
    scenario.others = explanation.Check(scenario.text);
    scenario.calls = InOrderOfReturn(recording).size();
    return scenario;
}

} // namespace rig::record
