/// A host's side: the vendor functions and those of solvane/rig.h, answered by a bench.
#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "message.h"

namespace rig::bench {

/// There is no bench, or there is no more; with a sentence for people.
struct NoBench : std::runtime_error {
    using runtime_error::runtime_error;
};

/// A connection with a bench, for one question at a time. Either may throw NoBench.
class Connection {
  public:
    virtual ~Connection() = default;
    virtual std::string Exchange(std::string_view question) = 0;
};
using Connect = std::function<std::unique_ptr<Connection>()>;

/// Asks a bench, over as many connections as threads ask at the same time.
class HostSide {
  public:
    /// `who` says of itself who it is. `complain` is given a reason why there is no hardware, once
    /// for each new one.
    HostSide(Connect connect, Introduction who, std::function<void(const std::string&)> complain);

    /// Without a bench: as of a process without any hardware, in which devices that were open are
    /// gone.
    void Answer(Call& call);
    RigAnswer Answer(const RigQuestion& question);
    Reply Answer(const Command& command);

    /// Ends the connections that are not in use: with the last one the host has left, until it asks
    /// again.
    void Leave();

  private:
    std::string Exchange(const std::string& question);
    std::unique_ptr<Connection> Take();
    void PutBack(std::unique_ptr<Connection> connection);
    void Complain(const std::string& why);

    const Connect connect;
    const Introduction me;
    const std::function<void(const std::string&)> complain;

    std::mutex mutex;
    std::vector<std::unique_ptr<Connection>> idle;
    std::string reason;
};

} // namespace rig::bench
