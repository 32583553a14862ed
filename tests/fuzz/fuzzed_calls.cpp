#include "fuzzed_calls.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <optional>
#include <string>

#include <solvane/rig.h>

#include "answer_plan.h"
#include "stand_in.h"

namespace fuzz::calls {

namespace {

using rig::Parameter;
using rig::Passing;
using rig::Value;

struct State {
    Input& input;
    AnswerPlan plan{input};
    Observer before;
    Observer after;
};

std::optional<State> state;

/// The rig's journal explains a finding, but slows the search for one, so it is off by default.
const bool isJournalled = std::getenv("SOLVANE_RIG_JOURNAL") != nullptr;

/// A number that a faulty library could report.
std::uint32_t OddNumber() {
    constexpr std::uint32_t kNumbers[] = {0,    1,    2,          3,          64,        4095,
                                          4096, 4097, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF};
    const std::uint8_t byte = state->input.Byte();
    return byte < std::size(kNumbers) ? kNumbers[byte] : state->input.DoubleWord();
}

/// Bytes with others in the middle, as many as the caller claims to have room for: if it claims too
/// much, the write goes beyond the end of its buffer and is detected.
std::string OddBytes(const Value& bytes, std::size_t room) {
    constexpr std::size_t kMost = 128 * 1024;
    constexpr std::size_t kLongestPiece = 128;
    std::string odd = rig::IsThere(bytes) ? std::get<std::string>(bytes) : "";
    odd.resize(std::min(room, kMost));
    if (!odd.empty()) {
        const std::size_t at = state->input.Word() % odd.size();
        const std::string piece = state->input.Bytes(state->input.Byte() % kLongestPiece);
        std::copy_n(piece.begin(), std::min(piece.size(), odd.size() - at),
                    odd.begin() + static_cast<std::ptrdiff_t>(at));
    }
    return odd;
}

/// A wrong output value. Handles become null, never an invented number: no host could detect that
/// it uses a handle that does not exist.
Value OddOutput(const rig::Call& call, std::size_t i) {
    const Parameter& parameter = call.function.parameters[i];
    switch (parameter.passing) {
    case Passing::Out:
        return std::uint64_t{parameter.size == sizeof(FT_HANDLE) ? 0 : OddNumber()};
    case Passing::InOut:
        return std::uint64_t{OddNumber()};
    case Passing::Things:
        return OddBytes(call.outputs[i],
                        static_cast<std::size_t>(rig::Number(call.inputs[i + 1])) * parameter.size);
    default:
        return call.outputs[i];
    }
}

/// Does the work or not; some outputs and the status are arbitrary.
void AnswerOddly(rig::Call& call) {
    enum Choice : std::uint8_t {
        kIsDone = 1,
        kHasByteAsStatus = 2,
        kHasAnyStatus = 4,
        kOutputs = 8
    };
    const std::uint8_t choice = state->input.Byte();
    if ((choice & kIsDone) != 0) {
        rig::AnswerPlainly(call);
    }
    call.outputs.resize(call.inputs.size());
    for (std::size_t i = 0; i < call.inputs.size(); ++i) {
        if ((choice & kOutputs << i) == 0) {
            call.outputs[i] = OddOutput(call, i);
        }
    }
    if ((choice & kHasAnyStatus) != 0) {
        call.status = state->input.DoubleWord();
    } else if ((choice & kHasByteAsStatus) != 0) {
        call.status = state->input.Byte();
    }
}

/// Calls that are never fuzzed: a library always refuses the null handle, and a port write has no
/// result.
bool IsAlwaysAnswered(const rig::Call& call) {
    const bool isOnHandle =
        !call.inputs.empty() && call.function.parameters[0].in == rig::Show::Handle;
    return call.function.result == rig::Show::No ||
           (isOnHandle && rig::Number(call.inputs[0]) == 0);
}

void Answer(rig::Call& call) {
    state->before(call);
    switch (IsAlwaysAnswered(call) ? Manner::Healthy : state->plan.Next()) {
    case Manner::Healthy:
        rig::AnswerPlainly(call);
        break;
    case Manner::Fails: // with the most usual status
        call.status = call.function.failureModes.front().status;
        break;
    case Manner::Odd:
        AnswerOddly(call);
        break;
    case Manner::Silent:
        break;
    }
    call.outputs.resize(call.inputs.size());
    if (isJournalled) {
        const auto nameOfHandle = [](std::uint64_t handle) { return std::to_string(handle); };
        rig_note((TextOfQuestion(call, nameOfHandle) + TextOfAnswer(call)).c_str());
    }
    state->after(call);
}

} // namespace

void Begin(Input& input, Observer before, Observer after) {
    state.emplace(State{.input = input, .before = before, .after = after});
    rig::answerer = Answer;
}

void Heal() {
    state->plan.Heal();
}

} // namespace fuzz::calls
