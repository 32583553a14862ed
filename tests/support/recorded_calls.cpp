#include "recorded_calls.h"

#include <algorithm>

#include "rig_clock.h"
#include "rig_state.h"
#include "stand_in.h"

namespace test {

namespace {

constexpr std::uint64_t kThread = 1;

RecordedCalls* running = nullptr;

/// The name of the call's handle, by which the rig's journal shows it too.
std::string NameOfHandle(const rig::Call& call) {
    const rig::Access locked;
    return call.inputs.empty()
               ? ""
               : rig::StandInFor(call.function.library).nameOf(rig::Number(call.inputs.front()));
}

} // namespace

RecordedCalls::RecordedCalls(const rig::record::Head& head)
    : before(rig::answerer), start(rig::clock::Now()) {
    AppendHead(text, head);
    running = this;
    rig::answerer = Answer;
}

RecordedCalls::~RecordedCalls() {
    rig::answerer = before;
    running = nullptr;
}

std::string RecordedCalls::Text() const {
    std::string ended = text;
    rig::record::AppendEnd(ended, Now());
    return ended;
}

void RecordedCalls::Answer(rig::Call& call) {
    RecordedCalls& me = *running;
    const std::uint64_t number = ++me.calls;
    rig::record::AppendQuestion(me.text, me.Now(), kThread, number, call, NameOfHandle(call));
    me.before(call);
    rig::record::AppendAnswer(me.text, me.Now(), kThread, number, call, 0);
}

rig::record::Microseconds RecordedCalls::Now() const {
    return (rig::clock::Now() - start) / 1000;
}

} // namespace test
