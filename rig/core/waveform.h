/// Writes a value change dump (VCD), the waveform format that logic-analyser programs read: the
/// lines as wires, and what happened to the rig as event variables.
#pragma once

#include <array>
#include <cstdint>
#include <ostream>
#include <string_view>

#include <solvane/rig.h>

namespace rig {

using Levels = std::array<bool, RIG_LINE_COUNT>;

const char* LineName(rig_line line);

/// Times are nanoseconds; in the file they count from its beginning.
class Waveform {
  public:
    Waveform(std::ostream& out, const Levels& start, std::uint64_t begin);

    /// Sets a line's level from `time` on. A time before the last written one counts as that one.
    void Set(rig_line line, bool level, std::uint64_t time);

    /// Marks an event if the file has a mark for its kind, which is the event's first word.
    void Mark(std::string_view event, std::uint64_t time);

    /// Ends with a time stamp: without one, the last levels would have no duration.
    void MoveTo(std::uint64_t time);

  private:
    std::ostream& file;
    Levels levels;
    std::uint64_t origin;
    std::uint64_t written = 0; ///< the last time stamp, in the file's unit
};

} // namespace rig
