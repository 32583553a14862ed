/// Reads a value change dump (VCD), the waveform format of logic analysers and simulators.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace rig::wave {

/// In the order of kLevelDigits, the characters for them in the file.
enum class Level : std::size_t { low, high, unknown, floating };
inline constexpr std::string_view kLevelDigits = "01xz";

struct Change {
    double time; ///< ms
    Level level;
};

struct Signal {
    std::string name;            ///< its name, with scopes if another signal has the same
    std::string path;            ///< with the scopes: "camera.trigger"
    std::vector<Change> changes; ///< in order of time; each has a new time and a new level
};

/// Something that happened at a moment: an event variable of the file.
struct Mark {
    double time; ///< ms
    std::string name;
};

struct Recording {
    double begin = 0; ///< ms
    double end = 0;
    std::vector<Signal> signals;
    std::vector<Mark> marks;        ///< in order of time
    std::vector<std::string> notes; ///< sentences about what was left out
};

/// The message says what is wrong, and begins with the line: "line 12: the time goes back ...".
struct VcdError : std::runtime_error {
    using runtime_error::runtime_error;
};

/// Reads single wires and events; wider variables are left out with a note. In names, every byte
/// that is not printable ASCII becomes '?', so that each character is one column wide. Throws
/// VcdError.
Recording ReadVcd(std::string_view file);

} // namespace rig::wave
