/// The host's end: has a bench answer the vendor functions and those of solvane/rig.h.
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

/// The bench is not there or has ended. The message is a sentence for people.
struct NoBench : std::runtime_error {
    using runtime_error::runtime_error;
};

/// A connection with a bench, for one question at a time. Connect and Exchange() may throw NoBench.
class Connection {
  public:
    virtual ~Connection() = default;
    virtual std::string Exchange(std::string_view question) = 0;
};
using Connect = std::function<std::unique_ptr<Connection>()>;

/// Asks a bench, over one connection for each thread that asks at the same time.
class HostSide {
  public:
    /// `who` introduces this process. `complain` gets the reason why there is no hardware, and only
    /// when it differs from the last one.
    HostSide(Connect connect, Introduction who, std::function<void(const std::string&)> complain);

    // Without a bench these answer as if there were no hardware, and calls on open devices fail.
    void Answer(Call& call);
    RigAnswer Answer(const RigQuestion& question);
    Reply Answer(const Command& command);
    /// The same, but throws std::runtime_error without a bench, and does not complain.
    Reply Ask(const Command& command);

    /// Closes the connections that are not in use. After the last one the bench frees what the host
    /// held. The next call connects again.
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
