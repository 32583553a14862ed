#include <algorithm>

#include "remote_rig.h"
#include "rig_state.h"
#include "stand_in.h"

namespace rig {

namespace {

bool LacksAPointer(const Call& call) {
    const auto isGood = [](const Parameter& parameter, const Value& input) {
        return parameter.isOptional || IsThere(input);
    };
    const auto& parameters = call.function.parameters;
    return !std::equal(parameters.begin(), parameters.end(), call.inputs.begin(), isGood);
}

std::uint32_t DoWork(const StandIn& standIn, Call& call) {
    if (const std::uint32_t status = standIn.refusal(call); status != 0) {
        return status;
    }
    if (LacksAPointer(call)) {
        return call.function.library.nullPointer;
    }
    call.outputs.resize(call.inputs.size());
    for (std::size_t i = 0; i < call.inputs.size(); ++i) {
        const Passing passing = call.function.parameters[i].passing;
        if (passing == Passing::InOut || passing == Passing::Either) {
            call.outputs[i] = call.inputs[i];
        }
    }
    return standIn.works.at(call.function.id)(call);
}

/// Does the work for at most `count` items and reports exactly `count`.
std::uint32_t DoWorkWithCount(const StandIn& standIn, Call& call, std::uint32_t count) {
    Call cut = call; // the journal shows what the host asked for
    const auto& parameters = call.function.parameters;
    for (std::size_t i = 0; i < parameters.size(); ++i) {
        if (auto* bytes = std::get_if<std::string>(&cut.inputs[i]); parameters[i].isCut && bytes) {
            bytes->resize(std::min<std::size_t>(bytes->size(), count));
        } else if (parameters[i].isCut && IsThere(cut.inputs[i])) {
            cut.inputs[i] = std::min<std::uint64_t>(Number(cut.inputs[i]), count);
        }
    }
    std::uint32_t status = DoWork(standIn, cut);
    for (std::size_t i = 0; i < cut.outputs.size(); ++i) {
        if (parameters[i].isReported && IsThere(cut.outputs[i])) {
            cut.outputs[i] = std::uint64_t{count};
            status = 0; // a host reads a count only on success
        }
    }
    call.outputs = std::move(cut.outputs);
    return status;
}

/// Counts the call and answers it, with its planned fault. Returns the question as the journal
/// shows it.
std::string AnswerCounted(const Access& rig, Call& call) {
    rig->host = call.host;
    const StandIn& standIn = StandInFor(call.function.library);
    const std::optional<Fault> fault = rig->BeginCall(call.function.name);
    std::string question = TextOfQuestion(call, standIn.nameOf);
    if (!fault) {
        call.status = DoWork(standIn, call);
    } else if ((fault->kind & RIG_FAULT_COUNT) != 0) {
        call.status = DoWorkWithCount(standIn, call, fault->count);
    }
    if (fault && (fault->kind & RIG_FAULT_STATUS) != 0) {
        call.status = fault->status;
    }
    return question;
}

} // namespace

const StandIn& StandInFor(const Library& library) {
    return *std::ranges::find_if(
        StandIns(), [&](const StandIn& standIn) { return &standIn.library == &library; });
}

void AnswerPlainly(Call& call) {
    const Access rig;
    call.status = DoWork(StandInFor(call.function.library), call);
}

void Answer(Call& call) {
    const RemoteRig* const remote = FindRemoteRig();
    remote != nullptr ? remote->answer(call) : AnswerLocally(call);
}

void AnswerLocally(Call& call) {
    const Access rig;
    const std::string question = AnswerCounted(rig, call);
    rig->AddCall(question + TextOfAnswer(call), call.host);
}

void AnswerUntraced(Call& call) {
    AnswerCounted(Access(), call);
}

void AnswerAsGone(Call& call) {
    AnswerUntraced(call);
    const auto& parameters = call.function.parameters;
    if (!parameters.empty() && parameters.front().in == Show::Handle) {
        call.status = usb::kIoError;
    }
}

} // namespace rig
