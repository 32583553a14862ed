/// Reads a value change dump (VCD), the waveform format of logic analysers and simulators.
#pragma once

#include <cstdint>
#include <istream>
#include <stdexcept>
#include <string>
#include <vector>

#include "timescale.h"

namespace rig::wave {

/// As in the file.
enum class Level : char { low = '0', high = '1', unknown = 'x', floating = 'z' };

struct Change {
    std::uint64_t time; ///< in ticks
    Level level;
};

struct Signal {
    std::string name;            ///< its own name; with the scopes when another signal has the same
    std::string path;            ///< with the scopes: "camera.trigger"
    std::vector<Change> changes; ///< real changes only, in order of time, one a tick
};

struct Recording {
    Timescale timescale;
    std::uint64_t begin = 0;
    std::uint64_t end = 0;
    std::vector<Signal> signals;
    std::vector<std::string> notes; ///< sentences about what was left out
};

/// What is wrong with a file, beginning with the line: "line 12: the time goes back ...".
class VcdError : public std::runtime_error {
  public:
    VcdError(std::size_t line, const std::string& sentence)
        : std::runtime_error("line " + std::to_string(line) + ": " + sentence) {}
};

/// The level of a signal from a time on; unknown before its first change.
Level LevelAt(const Signal& signal, std::uint64_t time);

/// Single wires are kept, wider ones left out with a note. Throws VcdError.
Recording ReadVcd(std::istream& stream);

} // namespace rig::wave
