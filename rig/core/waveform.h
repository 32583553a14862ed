/// The lines as a value change dump (VCD), the waveform format that logic-analyser programs read,
/// and what happened to them, as its event variables.
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

/// One file from its construction to its destruction. Times are those of rig::clock; the file
/// counts from its own beginning.
class Waveform {
  public:
    Waveform(const std::filesystem::path& path, const Levels& start, std::uint64_t begin);
    ~Waveform();
    Waveform(const Waveform&) = delete;
    Waveform& operator=(const Waveform&) = delete;

    bool IsOpen() const { return file.is_open(); }

    /// A line's level from `time` on. A moment before the last written one counts as that one.
    void Set(rig_line line, bool level, std::uint64_t time);

    /// Marks an event, if the file has marks of its kind: that is its first word.
    void Mark(std::string_view event, std::uint64_t time);

  private:
    void MoveTo(std::uint64_t time);

    std::ofstream file;
    Levels levels;
    std::uint64_t origin;
    std::uint64_t written = 0; ///< the last time stamp, in units of the file
};

} // namespace rig
