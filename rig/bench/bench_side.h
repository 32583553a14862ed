/// A bench's side of one connection.
#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "message.h"

namespace rig::bench {

/// Does a command, for somebody who may leave meanwhile.
using Perform = Reply (*)(const Command& command);

/// Who uses the hardware of this process: a host may have several connections, one a thread.
class Hosts {
  public:
    /// A host's number; one that comes first joins.
    HostNumber Join(const Introduction& who);

    /// A connection of a host has ended. With the last one the host has left, and what it held is
    /// let go of.
    void Leave(std::uint64_t key);

  private:
    struct Known {
        HostNumber number;
        unsigned connections;
    };

    std::mutex mutex;
    std::map<std::uint64_t, Known> known; ///< by the keys of the processes
    HostNumber last = 0;
};

class BenchSide {
  public:
    BenchSide(Hosts& everybody, Perform whatCommandsDo)
        : hosts(everybody), perform(whatCommandsDo) {}
    ~BenchSide();
    BenchSide(const BenchSide&) = delete;
    BenchSide& operator=(const BenchSide&) = delete;

    /// What is said to a message. Never throws, but for want of memory.
    std::string Answer(std::string_view message);

    /// Nothing more is to be answered: somebody who does not speak as we do.
    bool IsOver() const { return isOver; }

  private:
    std::string AnswerTo(Topic topic, Reader& reader);
    std::string AnswerToIntroduction(const Introduction& who);

    Hosts& hosts;
    const Perform perform;
    std::optional<std::uint64_t> key; ///< once somebody has joined; 0: who is no host
    HostNumber host = kThisProcess;
    bool isOver = false;
};

} // namespace rig::bench
