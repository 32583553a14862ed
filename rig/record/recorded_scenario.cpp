#include "recorded_scenario.h"

#include <algorithm>
#include <map>
#include <optional>
#include <stdexcept>
#include <utility>

#include "call_parts.h"
#include "commands.h"
#include "correction.h"
#include "handle_names.h"
#include "hardware_scenario.h"
#include "recorded_hardware.h"
#include "recorded_lines.h"
#include "rig_state.h"
#include "stand_in.h"

namespace rig::record {

namespace {

/// Puts a recording's calls to the rig until it answers them as the real hardware did. Most of what
/// is to be done to the rig can be told before each call; where an answer differs all the same, it
/// begins anew and tries something else before that call, or before the earlier one that it comes
/// from.
class Explanation {
  public:
    Explanation(const Recording& whatWas, const RecordedHardware& itsHardware,
                const RecordedLines& itsLines)
        : recording(whatWas), hardware(itsHardware), lines(itsLines) {}

    /// The scenario's text, without comments.
    std::string Find(const std::string& hardwareText) {
        std::size_t runs = 0;
        do {
            Load(hardwareText + AtRecordedTimes());
            mayRunAgain = ++runs < kMostRuns;
            RunAll();
        } while (isToRunAgain);
        const Reply kept = Perform({"keep"}, false);
        if (kept.exitCode != 0) {
            throw std::runtime_error("the recording is too long for a scenario: " + kept.text);
        }
        return kept.text;
    }

    /// The answers with a scenario, as it is.
    std::vector<OtherAnswer> Check(const std::string& scenario) {
        Load(scenario);
        others.clear();
        for (const RecordedCall& recorded : recording.calls) {
            Call call = Asked(recorded);
            AnswerLocally(call);
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
        names = {};
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
        Correction correction(recording, hardware, lines);
        for (std::size_t i = 0; i < recording.calls.size() && !isToRunAgain; ++i) {
            Run(i, correction);
        }
    }

    void Run(std::size_t index, Correction& correction) {
        const RecordedCall& recorded = recording.calls[index];
        {
            const Access rig;
            rig->timeline.MoveTo(recorded.begun * 1000);
        }
        Call call = Asked(recorded);
        const std::size_t before = correction.Done();
        if (recorded.returned) {
            correction.SetInputs(index);
            if (const auto decision = decisions.find(index); decision != decisions.end()) {
                if (decision->second < Alternatives(recorded.call).size()) {
                    correction.Do(Alternatives(recorded.call)[decision->second]);
                }
            } else {
                correction.Prepare(index, call);
            }
        }
        faults += correction.Done() != before ? 1 : 0;
        AnswerLocally(call);
        Pair(recorded.call, call);
        if (recorded.returned && !IsSameAnswer(recorded.call, call)) {
            Decide(index, recorded.call, call);
        }
    }

    /// The answer differs: tries the next alternative for this call, or for an earlier one.
    void Decide(std::size_t index, const Call& recorded, const Call& simulated) {
        if (!mayRunAgain) {
            return;
        }
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
        const bool isStillThere =
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
            case Function::EApiLibUnInitialize:
                return isStillThere && worked;
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

    /// The call with the rig's handle, or its place on the bus.
    Call Asked(const RecordedCall& recorded) const {
        Call call{recorded.call.function, recorded.call.inputs, {}};
        if (IsOnHandle(call) && !call.inputs.empty()) {
            const auto found = handles.find(Number(call.inputs.front()));
            if (found != handles.end()) {
                call.inputs.front() = found->second;
            }
        }
        FindOnBus(call, names);
        return call;
    }

    void Pair(const Call& recorded, const Call& simulated) {
        names.Learn(recorded);
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
    const RecordedLines& lines;
    std::map<std::uint64_t, std::uint64_t> handles; ///< the rig's, by the recording's
    HandleNames names;                              ///< of the recording's
    std::map<std::size_t, std::size_t> decisions;   ///< an alternative, by the index of its call
    bool mayRunAgain = true;
    bool isToRunAgain = false;
    std::vector<OtherAnswer> others;
};

/// A session without WMI calls would otherwise count those of the host that runs on it.
std::string WithoutWmi(std::string scenario) {
    const std::string key = "\ncalls_ns = [";
    return scenario.insert(scenario.find(key, scenario.find("[session]")), "\nwmi = false");
}

std::string Comment(const std::string& text) {
    std::string line = "# " + text + '\n';
    std::replace_if(
        line.begin(), line.end() - 1, [](char c) { return c < ' ' || c > '~'; }, '?');
    return line;
}

/// What a reader of the scenario should know of it.
std::string Comments(const Recording& recording, const RecordedScenario& scenario) {
    constexpr std::size_t kMost = 20;
    const std::size_t same = scenario.calls - scenario.others.size();
    std::string text =
        Comment("From a recording of " + recording.head.program + " on " + recording.head.system) +
        Comment(std::to_string(same) + " of " + std::to_string(scenario.calls) +
                " calls are answered as recorded" +
                (scenario.others.empty() ? "." : "; others are"));
    for (const OtherAnswer& other : scenario.others) {
        if (&other - scenario.others.data() == kMost) {
            return text + Comment("  ...");
        }
        text +=
            Comment("  call " + std::to_string(other.number) + ", recorded:  " + other.recorded) +
            Comment("    here:  " + other.simulated);
    }
    for (const RecordedCall& recorded : recording.calls) {
        if (!recorded.returned) {
            text += Comment("  call " + std::to_string(recorded.number) + ", " +
                            QuestionOf(recorded) + ", has not returned; here it does");
        }
    }
    return text;
}

} // namespace

RecordedScenario ScenarioOf(const Recording& recording) {
    const RecordedHardware hardware = HardwareOf(recording);
    const RecordedLines lines = LinesOf(recording);
    Explanation explanation(recording, hardware, lines);
    RecordedScenario scenario;
    scenario.text = explanation.Find(HardwareScenario(recording, hardware, lines));
    const bool hasWmi = std::ranges::any_of(recording.calls, [](const RecordedCall& recorded) {
        return &recorded.call.function.library == &kWmi;
    });
    if (!hasWmi) {
        scenario.text = WithoutWmi(std::move(scenario.text));
    }
    scenario.faults = explanation.faults;
    scenario.others = explanation.Check(scenario.text);
    scenario.calls = InOrderOfReturn(recording).size();
    scenario.text.insert(0, Comments(recording, scenario) + '\n');
    return scenario;
}

} // namespace rig::record
