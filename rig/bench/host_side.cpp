#include "host_side.h"

#include <utility>

#include "environment.h"
#include "stand_in.h"

namespace rig::bench {

HostSide::HostSide(Connect connectTo, Introduction who,
                   std::function<void(const std::string&)> teller)
    : connect(std::move(connectTo)), me(std::move(who)), complain(std::move(teller)) {}

void HostSide::Answer(Call& call) {
    try {
        DecodeAnswer(Exchange(Encoded(call)), call);
    } catch (const std::runtime_error& why) {
        Complain(why.what());
        AnswerAsGone(call);
    }
}

RigAnswer HostSide::Answer(const RigQuestion& question) {
    RigQuestion asked = question;
    if (question.function == RigFunction::LoadFile || question.function == RigFunction::WriteVcd) {
        if (question.text && !question.text->empty()) { // the bench has another working directory
            const auto path = std::filesystem::absolute(PathFromUtf8(question.text->c_str()));
            asked.text = Utf8FromPath(path);
        }
    }
    try {
        return DecodedRigAnswer(Exchange(Encoded(asked)));
    } catch (const std::runtime_error& why) {
        Complain(why.what());
        switch (question.function) {
        case RigFunction::Load: // loading it into this process would not help
        case RigFunction::LoadFile:
            return {-1, 0, {}};
        case RigFunction::Error:
            return {0, 0, why.what()};
        case RigFunction::Scenario:
            return {0, 0, std::string("none: ") + why.what()};
        default:
            return AnswerLocally(question);
        }
    }
}

Reply HostSide::Ask(const Command& command) {
    try {
        return DecodedReply(Exchange(Encoded(command)));
    } catch (const std::runtime_error&) {
        Leave(); // none of the connections works
        throw;
    }
}

Reply HostSide::Answer(const Command& command) {
    try {
        return Ask(command);
    } catch (const std::runtime_error& why) {
        Complain(why.what());
        return {1, why.what()};
    }
}

void HostSide::Leave() {
    const std::lock_guard lock(mutex);
    idle.clear();
}

std::string HostSide::Exchange(const std::string& question) {
    std::unique_ptr<Connection> connection = Take();
    std::string answer = connection->Exchange(question);
    PutBack(std::move(connection));
    return answer;
}

std::unique_ptr<Connection> HostSide::Take() {
    {
        const std::lock_guard lock(mutex);
        if (!idle.empty()) {
            std::unique_ptr<Connection> connection = std::move(idle.back());
            idle.pop_back();
            return connection;
        }
    }
    std::unique_ptr<Connection> connection = connect();
    DecodedHostNumber(connection->Exchange(Encoded(me)));
    return connection;
}

void HostSide::PutBack(std::unique_ptr<Connection> connection) {
    const std::lock_guard lock(mutex);
    idle.push_back(std::move(connection));
    reason.clear();
}

void HostSide::Complain(const std::string& why) {
    {
        const std::lock_guard lock(mutex);
        idle.clear(); // the bench is gone: none of them works
        if (std::exchange(reason, why) == why) {
            return;
        }
    }
    complain(why);
}

} // namespace rig::bench
