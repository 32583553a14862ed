/// Records the vendor calls of this process, with the rig as the real hardware.
#pragma once

#include <cstdint>
#include <string>

#include "recording_text.h"

namespace test {

/// Records from construction to destruction, one thread. There is one at a time.
class RecordedCalls {
  public:
    explicit RecordedCalls(const rig::record::Head& head = {});
    ~RecordedCalls();
    RecordedCalls(const RecordedCalls&) = delete;
    RecordedCalls& operator=(const RecordedCalls&) = delete;

    /// The recording so far, with its end.
    std::string Text() const;

  private:
    static void Answer(rig::Call& call);
    rig::record::Microseconds Now() const;

    const rig::Answerer before;
    const std::uint64_t start;
    std::string text;
    std::uint64_t calls = 0;
};

} // namespace test
