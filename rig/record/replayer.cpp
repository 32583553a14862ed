#include "replayer.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <utility>

#include "passed_call.h"
#include "recording_values.h"
#include "remote_rig.h"
#include "rig_clock.h"
#include "rig_state.h"
#include "same_call.h"
#include "stand_in.h"

namespace rig::record {

namespace {

Microseconds EndOf(const Recording& recording) {
    Microseconds end = 0;
    for (const RecordedCall& one : recording.calls) {
        end = std::max({end, one.begun, one.returned.value_or(0)});
    }
    for (const Remark& remark : recording.remarks) {
        end = std::max(end, remark.time);
    }
    return end;
}

/// Waits until so much time has passed since `start`.
void WaitUntil(std::uint64_t start, Microseconds length) {
    const std::uint64_t passed = clock::Now() - start;
    const std::uint64_t wanted = length * 1000;
    if (passed < wanted) {
        clock::Wait(wanted - passed);
    }
}

std::string CallsText(std::size_t count) {
    return std::to_string(count) + (count == 1 ? " call" : " calls");
}

} // namespace

Replayer::Replayer(Recording whatWas, ReplayOptions howTo)
    : recording(std::move(whatWas)), options(howTo),
      hasAll(std::ranges::any_of(recording.calls,
                                 [](const auto& one) { return !IsRecorded(one.call.function); })),
      end(EndOf(recording)) {
    for (const RecordedCall& one : recording.calls) {
        left[one.thread].push_back(&one);
        names.emplace(HandleOf(one.call).value_or(0), one.handle);
    }
    for (auto& [thread, calls] : left) {
        std::ranges::reverse(calls);
    }
}

void Replayer::Answer(Call& call) {
    if (!hasAll && !IsRecorded(call.function)) {
        return AnswerLocally(call);
    }
    const RecordedCall* one = nullptr;
    {
        const std::lock_guard lock(mutex);
        one = isOver ? nullptr : Take(call);
        if (!isOver && one == nullptr) {
            Leave(call);
        }
    }
    one != nullptr ? AnswerAsRecorded(*one, call) : AnswerAfterwards(call);
}

bool Replayer::IsFollowed() const {
    const std::lock_guard lock(mutex);
    return difference.empty() && answered == recording.calls.size();
}

std::string Replayer::Report() const {
    const std::lock_guard lock(mutex);
    const std::string count = CallsText(recording.calls.size());
    if (!difference.empty()) {
        return difference + "; before that, " + CallsText(answered) + " of " +
               std::to_string(recording.calls.size()) + " were as recorded";
    }
    if (const RecordedCall* const next = Earliest()) {
        return "the host ended after " + std::to_string(answered) + " of " + count +
               "; the recording goes on with call " + std::to_string(next->number) + ", " +
               QuestionOf(*next);
    }
    return (recording.calls.size() == 1 ? "the only call was" : "all " + count + " were") +
           " as recorded" + (recording.isEnded ? "" : ", until the recording was interrupted");
}

/// The recorded call that answers this one; null if there is none.
const RecordedCall* Replayer::Take(const Call& call) {
    std::vector<const RecordedCall*>* from = nullptr;
    for (auto& [thread, calls] : left) {
        if (!calls.empty() && AsksTheSame(calls.back()->call, call) &&
            (from == nullptr || calls.back() < from->back())) {
            from = &calls;
        }
    }
    if (from == nullptr) {
        return nullptr;
    }
    const RecordedCall* const one = from->back();
    from->pop_back();
    ++answered;
    return one;
}

/// Of what is left, the call that began first; null if nothing is left.
const RecordedCall* Replayer::Earliest() const {
    const RecordedCall* earliest = nullptr;
    for (const auto& [thread, calls] : left) {
        if (!calls.empty() && (earliest == nullptr || calls.back() < earliest)) {
            earliest = calls.back();
        }
    }
    return earliest;
}

/// The host makes a call that does not follow in the recording.
void Replayer::Leave(const Call& call) {
    isOver = true;
    const RecordedCall* const next = Earliest();
    if (next == nullptr && !recording.isEnded) {
        return; // nobody knows what came then
    }
    std::string recorded = next != nullptr ? QuestionOf(*next) : "nothing more";
    std::string asked = QuestionOf(call, NameOfHandle(call));
    if (recorded == asked) { // they differ where the text is cut
        AppendValues(recorded += " with", next->call.inputs);
        AppendValues(asked += " with", call.inputs);
    }
    difference = "call " + std::to_string(next != nullptr ? next->number : answered + 1) +
                 " differs: the recording has " + recorded + ", the host asked " + asked;
    Access()->trace.Event("replay: " + difference);
}

void Replayer::AnswerAsRecorded(const RecordedCall& one, Call& call) {
    const std::uint64_t start = clock::Now();
    Call asked{call.function, call.inputs, one.call.outputs, 0, call.host};
    if (options.then == Then::Simulated) {
        const std::lock_guard lock(simulating);
        simulation.Follow(asked);
    } else {
        AnswerAsGone(asked);
    }
    if (!options.isFast) {
        WaitUntil(start, one.returned.value_or(end) - one.begun);
    }
    call.status = one.returned ? one.call.status : asked.status;
    call.outputs = one.returned ? one.call.outputs : asked.outputs;
    Trace(call, one.handle);
    const std::lock_guard lock(mutex);
    names[HandleOf(call).value_or(0)] = one.handle;
}

void Replayer::AnswerAfterwards(Call& call) {
    if (options.then == Then::Simulated) {
        const std::lock_guard lock(simulating);
        simulation.Answer(call);
    } else {
        AnswerAsGone(call);
        const std::lock_guard lock(mutex);
        Trace(call, NameOfHandle(call));
    }
}

std::string Replayer::NameOfHandle(const Call& call) const {
    const auto name = names.find(HandleOf(call).value_or(0));
    return name != names.end() ? name->second : "?";
}

void Replayer::Trace(const Call& call, const std::string& handle) const {
    Access()->AddCall(QuestionOf(call, handle) + TextOfAnswer(call), call.host);
}

std::string ScenarioOfPorts(const Head& head) {
    const auto add = [](std::string& text, const char* key, const char* typeKey,
                        const Value& value) {
        const auto* const string = std::get_if<std::string>(&value);
        const std::string shown =
            string != nullptr ? Shown(Show::Text, value) : std::to_string(Number(value));
        std::string quoted;
        for (const char c : shown) {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\u%04x", static_cast<unsigned>(c));
            quoted += std::isalnum(c) != 0 ? std::string(1, c) : escaped;
        }
        const char* const type = string != nullptr ? "string" : IsThere(value) ? "number" : "null";
        text += std::string(key) + " = \"" + quoted + "\"\n" + typeKey + " = \"" + type + "\"\n";
    };
    std::string text = head.ports.empty() ? "parallel_port = []\n" : "";
    for (const ReportedPort& port : head.ports) {
        text += "[[parallel_port]]\n";
        add(text, "device_id", "device_id_type", port.deviceId);
        for (const Value& start : port.startingAddresses) {
            text += "[[parallel_port.range]]\n";
            add(text, "start", "type", start);
        }
    }
    return text;
}

} // namespace rig::record
