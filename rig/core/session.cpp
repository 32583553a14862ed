#include "session.h"

#include <algorithm>
#include <utility>

namespace rig {

void SessionRecorder::BeginCall(std::uint64_t now) {
    if (IsWhole()) {
        session.calls.emplace_back();
        NextStep(now);
    }
}

void SessionRecorder::NextStep(std::uint64_t now) {
    if (!IsWhole()) {
        return;
    }
    session.calls.back().push_back(now);
    Count(1);
}

void SessionRecorder::Count(std::size_t more) {
    times += more;
    if (!IsWhole()) {
        session = {}; // an incomplete recording is useless
    }
}

void SessionRecorder::Add(const Action& action, std::uint64_t now) {
    constexpr std::size_t kBytesOfATime = 11; // in a file, at most
    if (IsWhole()) {
        session.events.push_back({Next(), now, action});
        const std::size_t length = action.text.size() + action.scenario.value_or("").size();
        Count(1 + length / kBytesOfATime);
    }
}

Moment SessionRecorder::Next() const {
    if (!IsWhole()) {
        return {};
    }
    return {static_cast<std::uint32_t>(session.calls.size() - 1),
            static_cast<std::uint32_t>(session.calls.back().size())};
}

Rerun::Rerun(const Session& again, Timeline& time, std::function<void(const Action&)> whatToDo)
    : session(again), timeline(time), perform(std::move(whatToDo)),
      isOver(session.calls.empty() || (session.calls.size() == 1 && session.calls[0].size() == 1)) {
    if (isOver) {
        Schedule();
    } else {
        timeline.Hold();
    }
}

void Rerun::BeginCall(std::string_view function) {
    const bool isWmi = function.find("::") != std::string_view::npos;
    if (session.countsWmi || !isWmi) {
        Come({++call, 0}, 0);
    }
}

void Rerun::Come(const Moment& moment, std::uint64_t length) {
    while (next < session.events.size() && session.events[next].moment <= moment) {
        timeline.MoveTo(session.events[next].at);
        PerformNext();
    }
    if (isOver) {
        Schedule();
        return;
    }
    const bool isKnown =
        moment.call < session.calls.size() && moment.step < session.calls[moment.call].size();
    timeline.MoveTo(isKnown ? session.calls[moment.call][moment.step] : timeline.Now() + length);
    const Moment last{static_cast<std::uint32_t>(session.calls.size() - 1),
                      static_cast<std::uint32_t>(session.calls.back().size() - 1)};
    if (moment >= last) {
        isOver = true;
        timeline.LetGo();
        Schedule();
    }
}

void Rerun::Schedule() {
    timeline.Cancel(scheduled);
    if (isOver && next < session.events.size()) {
        const std::uint64_t at = std::max(session.events[next].at, timeline.Now());
        scheduled = timeline.After(at - timeline.Now(), [this] {
            PerformNext();
            Schedule();
        });
    }
}

void Rerun::PerformNext() {
    perform(session.events[next++].action);
}

} // namespace rig
