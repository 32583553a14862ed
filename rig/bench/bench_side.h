/// The bench's end of a connection.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "message.h"

namespace rig::bench {

/// Carries out a command. The connection may end meanwhile.
using Perform = std::function<Reply(const Command& command)>;

/// The hosts that use the hardware of this process. A host may have a connection per thread.
class Hosts {
  public:
    /// `whoAnswers` gets their vendor calls, on any thread.
    explicit Hosts(Answerer whoAnswers = AnswerLocally) : answer(whoAnswers) {}

    /// Counts a connection and returns its host's number, a new one for a new host.
    HostNumber Join(const Introduction& who);

    /// Ends a connection of a host. With the last one, everything that the host held is freed.
    void Leave(std::uint64_t key);

    const Answerer answer;

  private:
    struct Known {
        HostNumber number;
        unsigned connections;
    };

    std::mutex mutex;
    std::map<std::uint64_t, Known> known; ///< by Introduction::key
    HostNumber last = 0;
};

class BenchSide {
  public:
    BenchSide(Hosts& everybody, Perform whatCommandsDo)
        : hosts(everybody), perform(std::move(whatCommandsDo)) {}
    ~BenchSide();
    BenchSide(const BenchSide&) = delete;
    BenchSide& operator=(const BenchSide&) = delete;

    /// The answer to a message. Throws only when memory runs out.
    std::string Answer(std::string_view message);

    /// The connection is to be closed, because the other end does not speak our protocol.
    bool IsOver() const { return isOver; }

  private:
    std::string AnswerTo(Topic topic, Reader& reader);
    std::string AnswerToIntroduction(const Introduction& who);

    Hosts& hosts;
    const Perform perform;
    std::optional<std::uint64_t> key; ///< from the introduction; 0: not a host
    HostNumber host = kThisProcess;
    bool isOver = false;
};

} // namespace rig::bench
