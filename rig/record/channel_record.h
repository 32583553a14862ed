/// One channel of an FT2232H in a recording: the commands that it got, and which answer belongs to
/// which.
#pragma once

#include <cstdint>
#include <deque>
#include <string_view>
#include <vector>

#include "pin_record.h"

namespace rig::record {

class ChannelRecord {
  public:
    explicit ChannelRecord(LineLog& lineLog);

    /// The pins become inputs, as the chip changes its mode or loses its power.
    void Enter(bool becomesMpsse, const Instant& when);

    /// The host has emptied the queue.
    void ForgetAnswers() { asked.clear(); }

    void Write(std::string_view bytes, Instant when);
    void Read(std::string_view bytes);

  private:
    struct Asked {
        PinRecord* pins; ///< null: of another command, which may be answered as unknown
        std::uint8_t command;
        Instant when;
        DrivenLines driven;
    };

    void Execute(const Instant& when);

    LineLog& log;
    PinRecord low;
    PinRecord high;
    bool isMpsse = false;
    std::vector<std::uint8_t> command; ///< incomplete so far
    std::deque<Asked> asked;
};

} // namespace rig::record
