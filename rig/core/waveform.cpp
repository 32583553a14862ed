#include "waveform.h"

#include <algorithm>

namespace rig {

namespace {

constexpr std::uint64_t kNanosecondsPerUnit = 1'000;

/// The events that get a mark. Without one, a pulse that an unplugged cable cut short looks normal.
constexpr std::array<std::string_view, 7> kMarks = {"capture", "ignored", "unplug", "plug",
                                                    "sleep",   "resume",  "fault"};

/// The short name of a variable, a printable character from '!' on.
char CodeOf(std::size_t index) {
    return static_cast<char>('!' + index);
}

char DigitOf(bool level) {
    return level ? '1' : '0';
}

std::vector<std::string> LineNames() {
    std::vector<std::string> names;
    for (std::size_t i = 0; i < RIG_LINE_COUNT; ++i) {
        names.emplace_back(LineName(static_cast<rig_line>(i)));
    }
    return names;
}

} // namespace

const char* LineName(rig_line line) {
    static constexpr std::array<const char*, RIG_LINE_COUNT> names = {
        "trigger", "ready", "mep", "clear_mep", "dark", "camera_power", "accessories_power"};
    return names[line];
}

VcdWriter::VcdWriter(std::ostream& out, const std::vector<std::string>& lines,
                     const std::vector<std::string>& events)
    : file(out) {
    file << "$version Solvane rig $end\n$timescale 1 us $end\n$scope module camera $end\n";
    std::size_t index = 0;
    for (const std::string& line : lines) {
        file << "$var wire 1 " << CodeOf(index++) << ' ' << line << " $end\n";
    }
    file << "$upscope $end\n$scope module events $end\n";
    for (const std::string& event : events) {
        file << "$var event 1 " << CodeOf(index++) << ' ' << event << " $end\n";
    }
    file << "$upscope $end\n$enddefinitions $end\n";
}

void VcdWriter::MoveTo(std::uint64_t time) {
    if (!written || time > *written) {
        written = time;
        file << '#' << time << '\n';
    }
}

void VcdWriter::Set(std::size_t index, char value) {
    file << value << CodeOf(index) << '\n';
}

Waveform::Waveform(std::ostream& out, const Levels& start, std::uint64_t begin)
    : file(out), vcd(out, LineNames(), {kMarks.begin(), kMarks.end()}), levels(start),
      origin(begin) {
    vcd.MoveTo(0);
    file << "$dumpvars\n";
    for (std::size_t i = 0; i < levels.size(); ++i) {
        vcd.Set(i, DigitOf(levels[i]));
    }
    file << "$end\n" << std::flush;
}

void Waveform::Set(rig_line line, bool level, std::uint64_t time) {
    if (levels[line] == level) {
        return;
    }
    levels[line] = level;
    MoveTo(time);
    vcd.Set(line, DigitOf(level));
    file << std::flush;
}

void Waveform::Mark(std::string_view event, std::uint64_t time) {
    const auto* const kind = std::ranges::find(kMarks, event.substr(0, event.find(' ')));
    const bool isPlan = std::ranges::count(event, ' ') > 1; // "fault FT_Write status=4"
    if (kind != kMarks.end() && !isPlan) {
        MoveTo(time);
        vcd.Set(levels.size() + static_cast<std::size_t>(kind - kMarks.begin()), '1');
        file << std::flush;
    }
}

void Waveform::MoveTo(std::uint64_t time) {
    vcd.MoveTo(time > origin ? (time - origin) / kNanosecondsPerUnit : 0);
}

} // namespace rig
