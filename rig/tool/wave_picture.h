/// What a picture of a recording shows, before anything is drawn: the moments at which something
/// happens, and the lines between them.
#pragma once

#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

#include "vcd_reader.h"

namespace rig::wave {

/// A text is for measuring, with times to at least 1 µs. A drawing is for a quick look, with
/// rounded times.
enum class Form { text, drawing };

/// The part of a recording to be shown.
struct Excerpt {
    std::vector<std::string> signals; ///< names or paths, in the order to be shown; none: all
    double from = 0;                  ///< ms
    double to = std::numeric_limits<double>::infinity();
};

/// How long a line keeps a level, between two moments.
struct Stretch {
    Level level;
    std::size_t first;
    std::size_t last;
    /// "10.06 ms" for a pulse, else empty. A pulse is a stretch at another level than the
    /// line's first known one that begins and ends within the picture.
    std::string width;
};

struct Lane {
    std::string name;
    std::vector<Stretch> stretches;
};

/// Interval i lies between moment i and moment i + 1. The first moment is the beginning and the
/// last the end; at every other one at least one line changes, or there is a mark. A line that
/// changes at the very end still shows its new level, in a last interval without a duration.
struct Picture {
    Form form;
    std::vector<double> moments;    ///< ms
    std::vector<std::string> times; ///< the moments as text, ms
    std::vector<std::string> marks; ///< what happened at them: "capture", or empty
    std::vector<Lane> lanes;
    std::vector<Lane> steady; ///< lines that do not change

    std::size_t Intervals() const { return moments.size() - 1; }
    double Duration(std::size_t interval) const {
        return moments[interval + 1] - moments[interval];
    }
};

/// The message says in a sentence why there is no such picture.
struct ExcerptError : std::runtime_error {
    using runtime_error::runtime_error;
};

/// Throws ExcerptError if the excerpt cannot be shown.
Picture TakePicture(const Recording& recording, const Excerpt& excerpt, Form form);

/// "Events: capture at 66.4, unplug at 70", or empty without any.
std::string MarksText(const Picture& picture);

/// Whether a mark is of something that went wrong, such as a fault or an ignored trigger.
bool IsDisturbance(const std::string& mark);

/// "Nothing changes from 0 to 50 ms.", for a picture without lanes.
std::string NothingChanges(const Picture& picture);

/// "Unchanged: dark 0, camera_power 1", or empty when every line changes.
std::string SteadyText(const Picture& picture, std::size_t mostNameColumns);

/// A name cut to `columns`. The end is kept, since the end of a path says more than its beginning.
std::string CutTo(std::size_t columns, const std::string& name);

/// The picture as rows of text, none wider than `columns`, which must be at least 40.
std::string DrawText(const Picture& picture, std::size_t columns = 100, bool ascii = false);

/// The picture as a self-contained SVG file, for documents and browsers. It adapts to dark and
/// light themes, and describes its content in words for screen readers.
std::string DrawSvg(const Picture& picture);

} // namespace rig::wave
