#include "recorded_wave.h"

#include <algorithm>
#include <cmath>
#include <map>

#include "recorded_lines.h"
#include "recording_lines.h"
#include "recording_text.h"
#include "waveform.h"

namespace rig::wave {

namespace {

constexpr double kMicrosecondsPerMillisecond = 1000;

double Milliseconds(record::Microseconds time) {
    return static_cast<double>(time) / kMicrosecondsPerMillisecond;
}

Level LevelOf(const std::optional<bool>& level) {
    return !level ? Level::unknown : *level ? Level::high : Level::low;
}

/// Sets a level from a time on. Of several at one time the last one counts. Before its first level
/// a line is unknown.
void Set(std::vector<Change>& changes, double time, Level level) {
    if (!changes.empty() && changes.back().time == time) {
        changes.pop_back();
    }
    if (changes.empty() ? level != Level::unknown : changes.back().level != level) {
        changes.push_back({time, level});
    }
}

/// The short name of a variable, a printable character from '!' on.
char CodeOf(std::size_t index) {
    return static_cast<char>('!' + index);
}

} // namespace

bool IsOfCalls(std::string_view text) {
    return text.starts_with(record::kTitle);
}

Recording LinesOfCalls(std::string_view text) {
    const record::Recording calls = record::ReadRecording(text);
    const record::RecordedLines lines = LinesOf(calls);
    Recording recording;
    for (std::size_t i = 0; i < RIG_LINE_COUNT; ++i) {
        const std::string name = LineName(static_cast<rig_line>(i));
        recording.signals.push_back({name, "camera." + name, {}});
    }
    for (const record::LineChange& change : lines.changes) {
        Set(recording.signals[change.line].changes, Milliseconds(change.time),
            LevelOf(change.level));
    }
    for (const record::LineEvent& event : lines.events) {
        recording.marks.push_back(
            {Milliseconds(event.time), event.text.substr(0, event.text.find(' '))});
    }
    for (const record::RecordedCall& call : calls.calls) {
        recording.end = std::max(recording.end, Milliseconds(call.returned.value_or(call.begun)));
    }
    for (const std::size_t line : calls.cutLines) {
        recording.notes.push_back("line " + std::to_string(line) + " is cut, and left out");
    }
    return recording;
}

std::string VcdOf(const Recording& recording) {
    std::string text =
        "$version Solvane rig $end\n$timescale 1 us $end\n$scope module camera $end\n";
    std::vector<std::string> events;
    for (const Mark& mark : recording.marks) {
        if (std::ranges::find(events, mark.name) == events.end()) {
            events.push_back(mark.name);
        }
    }
    std::multimap<long long, std::string> changes; // by time, in µs
    const auto add = [&](double time, char value, std::size_t code) {
        changes.emplace(std::llround(time * kMicrosecondsPerMillisecond),
                        std::string{value, CodeOf(code), '\n'});
    };
    std::size_t code = 0;
    for (const Signal& signal : recording.signals) {
        text += std::string("$var wire 1 ") + CodeOf(code) + ' ' + signal.name + " $end\n";
        for (const Change& change : signal.changes) {
            add(change.time, kLevelDigits[static_cast<std::size_t>(change.level)], code);
        }
        ++code;
    }
    text += "$upscope $end\n$scope module events $end\n";
    for (const std::string& event : events) {
        text += std::string("$var event 1 ") + CodeOf(code) + ' ' + event + " $end\n";
        for (const Mark& mark : recording.marks) {
            if (mark.name == event) {
                add(mark.time, '1', code);
            }
        }
        ++code;
    }
    text += "$upscope $end\n$enddefinitions $end\n";
    long long written = -1;
    const auto moveTo = [&](long long time) {
        if (time > written) {
            text += '#' + std::to_string(time) + '\n';
            written = time;
        }
    };
    for (const auto& [time, change] : changes) {
        moveTo(time);
        text += change;
    }
    moveTo(std::llround(recording.end * kMicrosecondsPerMillisecond));
    return text;
}

} // namespace rig::wave
