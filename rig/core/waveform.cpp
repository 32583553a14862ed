#include "waveform.h"

#include <algorithm>

namespace rig {

namespace {

constexpr std::uint64_t kNanosecondsPerUnit = 1'000;
constexpr const char* kHeader = "$version Solvane rig $end\n"
                                "$timescale 1 us $end\n"
                                "$scope module camera $end\n";

/// The events that get a mark. Without one, a pulse that an unplugged cable cut short looks normal.
constexpr std::array<std::string_view, 7> kMarks = {"capture", "ignored", "unplug", "plug",
                                                    "sleep",   "resume",  "fault"};

/// The short name of a variable in the VCD, a printable character from '!' on. Events come after
/// the lines.
char CodeOf(std::size_t line) {
    return static_cast<char>('!' + line);
}

char DigitOf(bool level) {
    return level ? '1' : '0';
}

} // namespace

const char* LineName(rig_line line) {
    static constexpr std::array<const char*, RIG_LINE_COUNT> names = {
        "trigger", "ready", "mep", "clear_mep", "dark", "camera_power", "accessories_power"};
    return names[line];
}

Waveform::Waveform(std::ostream& out, const Levels& start, std::uint64_t begin)
    : file(out), levels(start), origin(begin) {
    file << kHeader;
    for (std::size_t i = 0; i < levels.size(); ++i) {
        file << "$var wire 1 " << CodeOf(i) << ' ' << LineName(static_cast<rig_line>(i))
             << " $end\n";
    }
    file << "$upscope $end\n$scope module events $end\n";
    for (std::size_t i = 0; i < kMarks.size(); ++i) {
        file << "$var event 1 " << CodeOf(levels.size() + i) << ' ' << kMarks[i] << " $end\n";
    }
    file << "$upscope $end\n$enddefinitions $end\n#0\n$dumpvars\n";
    for (std::size_t i = 0; i < levels.size(); ++i) {
        file << DigitOf(levels[i]) << CodeOf(i) << '\n';
    }
    file << "$end\n" << std::flush;
}

void Waveform::Set(rig_line line, bool level, std::uint64_t time) {
    if (levels[line] == level) {
        return;
    }
    levels[line] = level;
    MoveTo(time);
    // Each change reaches the file at once: the host may be killed.
    file << DigitOf(level) << CodeOf(line) << '\n' << std::flush;
}

void Waveform::Mark(std::string_view event, std::uint64_t time) {
    const auto* const kind = std::ranges::find(kMarks, event.substr(0, event.find(' ')));
    const bool isPlan = std::ranges::count(event, ' ') > 1; // "fault FT_Write status=4"
    if (kind != kMarks.end() && !isPlan) {
        MoveTo(time);
        const auto index = static_cast<std::size_t>(kind - kMarks.begin());
        file << DigitOf(true) << CodeOf(levels.size() + index) << '\n' << std::flush;
    }
}

void Waveform::MoveTo(std::uint64_t time) {
    const std::uint64_t unit = time > origin ? (time - origin) / kNanosecondsPerUnit : 0;
    if (unit > written) {
        written = unit;
        file << '#' << unit << '\n';
    }
}

} // namespace rig
