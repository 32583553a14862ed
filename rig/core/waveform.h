/// Writes a value change dump (VCD), the waveform format that logic-analyser programs read: the
/// lines as wires, and what happened to the rig as event variables.
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string_view>

#include <solvane/rig.h>

namespace rig {

using Levels = std::array<bool, RIG_LINE_COUNT>;

const char* LineName(rig_line line);

/// Times are those of rig::clock; in the file they count from its beginning.
class Waveform {
  public:
    Waveform(const std::filesystem::path& path, const Levels& start, std::uint64_t begin);
    ~Waveform();
    Waveform(const Waveform&) = delete;
    Waveform& operator=(const Waveform&) = delete;

    bool IsOpen() const { return file.is_open(); }

    /// Sets a line's level from `time` on. A time before the last written one counts as that one.
    void Set(rig_line line, bool level, std::uint64_t time);

    /// Marks an event if the file has a mark for its kind, which is the event's first word.
    void Mark(std::string_view event, std::uint64_t time);

  private:
    void MoveTo(std::uint64_t time);

    std::ofstream file;
    Levels levels;
    std::uint64_t origin;
    std::uint64_t written = 0; ///< the last time stamp, in the file's unit
};

} // namespace rig
