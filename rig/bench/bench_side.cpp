#include "bench_side.h"

#include <exception>

#include "rig_state.h"

namespace rig::bench {

HostNumber Hosts::Join(const Introduction& who) {
    const std::lock_guard lock(mutex);
    const auto [place, isNew] = known.try_emplace(who.key, Known{last + 1, 0});
    ++place->second.connections;
    if (isNew) {
        ++last;
        Access rig;
        rig->guests[last] = {who.program, who.process};
        rig->trace.Event("host " + std::to_string(last) + " joins: " + who.program + " (process " +
                         std::to_string(who.process) + ')');
    }
    return place->second.number;
}

void Hosts::Leave(std::uint64_t key) {
    const std::lock_guard lock(mutex);
    const auto place = known.find(key);
    if (--place->second.connections > 0) {
        return;
    }
    const HostNumber left = place->second.number;
    known.erase(place);
    Access rig;
    rig->Release(left);
    rig->guests.erase(left);
    rig->trace.Event("host " + std::to_string(left) + " leaves");
}

BenchSide::~BenchSide() {
    if (host != kThisProcess) {
        try {
            hosts.Leave(*key);
        } catch (...) { // no memory for the journal entry
        }
    }
}

std::string BenchSide::Answer(std::string_view message) {
    try {
        Reader reader(message);
        const auto topic = static_cast<Topic>(reader.Number());
        if (key.has_value() == (topic == Topic::Introduction)) {
            throw Malformed(key ? "who has joined joins again" : "who has not joined asks");
        }
        return AnswerTo(topic, reader);
    } catch (const Malformed& reason) {
        isOver = true;
        return Refusal(std::string("a message that is none: ") + reason.what());
    } catch (const std::exception& reason) {
        return Refusal(reason.what()); // inputs of the wrong kind for the function
    }
}

std::string BenchSide::AnswerTo(Topic topic, Reader& reader) {
    switch (topic) {
    case Topic::Introduction:
        return AnswerToIntroduction(DecodedIntroduction(reader));
    case Topic::Call: {
        Call call = DecodedCall(reader);
        call.host = host;
        hosts.answer(call);
        return bench::AnswerTo(call);
    }
    case Topic::Rig:
        return Encoded(AnswerLocally(DecodedRigQuestion(reader)));
    case Topic::Command:
        return Encoded(perform(DecodedCommand(reader)));
    }
    throw Malformed("a question that nobody knows");
}

std::string BenchSide::AnswerToIntroduction(const Introduction& who) {
    if (who.protocol != kProtocol) {
        isOver = true;
        return Refusal("the bench speaks protocol " + std::to_string(kProtocol) +
                       ", and who asks speaks " + std::to_string(who.protocol) +
                       ": take solvane-rig and the DLLs of one release");
    }
    if (who.key != 0) {
        host = hosts.Join(who);
    }
    key = who.key;
    return bench::AnswerTo(who, host);
}

} // namespace rig::bench
