#include "recorded_wave.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <sstream>

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
    std::multimap<long long, std::pair<std::size_t, char>> changes; // by time, in µs
    const auto add = [&](double time, std::size_t index, char value) {
        changes.emplace(std::llround(time * kMicrosecondsPerMillisecond), std::pair(index, value));
    };
    std::vector<std::string> lines;
    for (const Signal& signal : recording.signals) {
        for (const Change& change : signal.changes) {
            add(change.time, lines.size(), kLevelDigits[static_cast<std::size_t>(change.level)]);
        }
        lines.push_back(signal.name);
    }
    std::vector<std::string> events;
    for (const Mark& mark : recording.marks) {
        const auto event = std::ranges::find(events, mark.name);
        add(mark.time, lines.size() + static_cast<std::size_t>(event - events.begin()), '1');
        if (event == events.end()) {
            events.push_back(mark.name);
        }
    }
    std::ostringstream text;
    VcdWriter vcd(text, lines, events);
    for (const auto& [time, change] : changes) {
        vcd.MoveTo(static_cast<std::uint64_t>(time));
        vcd.Set(change.first, change.second);
    }
    vcd.MoveTo(
        static_cast<std::uint64_t>(std::llround(recording.end * kMicrosecondsPerMillisecond)));
    return text.str();
}

} // namespace rig::wave
