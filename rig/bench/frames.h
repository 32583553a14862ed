/// Messages on a stream of bytes: each has its length before it.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace rig::bench {

/// As it is sent.
std::string Framed(std::string_view message);

/// What has come of a stream, in pieces of any size.
class Frames {
  public:
    void Add(std::string_view bytes) { waiting += bytes; }

    /// The next message, as soon as it is complete. Throws Malformed when one is too long.
    std::optional<std::string> Take();

  private:
    std::string waiting;
};

} // namespace rig::bench
