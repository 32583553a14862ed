/// The panel's server.
#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>

#include "source.h"

namespace rig::panel {

struct Limits {
    /// How long a request may take to arrive, and an answer to be taken.
    std::chrono::milliseconds patience{10'000};
    std::chrono::milliseconds heartbeat{15'000};
    std::size_t connections = 200;
    std::size_t commands = 64; ///< that are carried out at the same time
};

/// Serves from construction to destruction, in threads of its own, on the loopback interface alone.
class Server {
  public:
    /// Throws std::runtime_error when there is no port.
    explicit Server(Source source, const Limits& limits = {});
    ~Server();
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    /// Where the page is; whoever knows it can use the panel.
    std::string Address() const;

  private:
    struct Running;
    std::unique_ptr<Running> running;
};

} // namespace rig::panel
