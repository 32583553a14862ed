/// What a picture of a recording shows, before anything is drawn: the moments at which something
/// happens, and the lines between them.
#pragma once

#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

#include "vcd_reader.h"

namespace rig::wave {

/// What of a recording is wanted.
struct Excerpt {
    std::vector<std::string> signals; ///< names or paths, in the order to be shown; none: all
    double from = 0;                  ///< ms
    double to = std::numeric_limits<double>::infinity();
};

/// The time during which a line is away from its level of rest, between two moments.
struct Pulse {
    std::size_t first;
    std::size_t last;
    std::string width; ///< "10.06 ms"
};

struct Lane {
    std::string name;
    std::vector<Level> levels; ///< one an interval
    std::vector<Pulse> pulses; ///< those that begin and end within the picture, in order
};

struct SteadyLine {
    std::string name;
    Level level;
};

/// Interval i lies between moment i and moment i + 1. The first moment is the beginning and the
/// last the end; at every other one at least one line changes. A line that changes at the very end
/// still shows its new level, in a last interval without a duration.
struct Picture {
    std::vector<double> moments;    ///< ms
    std::vector<std::string> times; ///< the moments as text, ms
    std::vector<Lane> lanes;
    std::vector<SteadyLine> steady; ///< lines that do not change

    std::size_t Intervals() const { return moments.size() - 1; }
};

/// Why there is no such picture, in a sentence.
class ExcerptError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// Throws ExcerptError.
Picture TakePicture(const Recording& recording, const Excerpt& excerpt);

/// "dark 0, camera_power 1", or empty when every line changes.
std::string SteadyText(const Picture& picture);

} // namespace rig::wave
