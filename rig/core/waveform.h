/// Writes a value change dump (VCD), the waveform format that logic-analyser programs read: the
/// lines as wires, and what happened to the rig as event variables.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include <solvane/rig.h>

namespace rig {

using Levels = std::array<bool, RIG_LINE_COUNT>;

const char* LineName(rig_line line);

/// Knows the format alone. Times are microseconds. Lines and events are counted together from 0,
/// the lines first.
class VcdWriter {
  public:
    VcdWriter(std::ostream& out, const std::vector<std::string>& lines,
              const std::vector<std::string>& events);

    /// Writes a time stamp, unless the file has come so far already.
    void MoveTo(std::uint64_t time);

    /// '0', '1' or 'x' for a line, '1' for an event.
    void Set(std::size_t index, char value);

  private:
    std::ostream& file;
    std::optional<std::uint64_t> written; ///< the last time stamp
};

/// Times are nanoseconds; in the file they count from its beginning. Each change reaches the file
/// at once: the host may be killed.
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
    VcdWriter vcd;
    Levels levels;
    std::uint64_t origin;
};

} // namespace rig
