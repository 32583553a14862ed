/// Messages on a stream of bytes, each preceded by its length.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace rig::bench {

/// The message with its length in front.
std::string Framed(std::string_view message);

/// Reassembles messages from a stream that arrives in pieces of any size.
class Frames {
  public:
    void Add(std::string_view bytes) { waiting += bytes; }

    /// The next message, as soon as it is complete. Throws Malformed when one is too long.
    std::optional<std::string> Take();

  private:
    std::string waiting;
};

} // namespace rig::bench
