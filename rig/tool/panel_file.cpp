#include "panel_file.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <optional>
#include <stdexcept>
#include <utility>

#include "command_table.h"
#include "file_content.h"
#include "recorded_journal.h"
#include "recorded_wave.h"
#include "recording_text.h"
#include "this_program.h"
#include "vcd_reader.h"
#include "wave_picture.h"

namespace rig {

namespace {

/// Of a file that tells of centuries, the latest moment that a journal knows.
std::uint64_t Nanoseconds(double milliseconds) {
    constexpr double kLatest = 9e18;
    return static_cast<std::uint64_t>(std::llround(
        std::min(kLatest, milliseconds * static_cast<double>(kNanosecondsPerMillisecond))));
}

char DigitOf(wave::Level level) {
    return wave::kLevelDigits[static_cast<std::size_t>(level)];
}

/// The edges and marks of a waveform, and what of it is not shown. The level that a line begins
/// with is not an edge.
std::vector<Journal::Entry> EntriesOf(const wave::Recording& recording) {
    std::vector<Journal::Entry> entries;
    for (const std::string& note : recording.notes) {
        entries.push_back({Nanoseconds(recording.begin), RIG_NOTE, note});
    }
    for (const wave::Signal& signal : recording.signals) {
        for (const wave::Change& change : signal.changes) {
            if (change.time > recording.begin) {
                entries.push_back({Nanoseconds(change.time), RIG_EDGE,
                                   signal.name + ' ' + DigitOf(change.level)});
            }
        }
    }
    for (const wave::Mark& mark : recording.marks) {
        entries.push_back({Nanoseconds(mark.time), RIG_EVENT, mark.name});
    }
    std::ranges::stable_sort(entries, {}, &Journal::Entry::time);
    return entries;
}

/// The level of each line at a time, in ms.
Json LevelsAt(double time, const wave::Recording& recording) {
    Json levels;
    for (const wave::Signal& signal : recording.signals) {
        const auto next = std::ranges::upper_bound(signal.changes, time, {}, &wave::Change::time);
        const char level =
            DigitOf(next == signal.changes.begin() ? wave::Level::unknown : std::prev(next)->level);
        const bool isKnown = level == '0' || level == '1';
        levels.AddRaw(signal.name, isKnown ? std::string(1, level) : Json::Quoted({&level, 1}));
    }
    return levels;
}

Reply ReportFile(const FileContent& content, const bench::Command& command) {
    const std::string name = command.words.empty() ? "" : command.words.front();
    Report report{.exitCode = 1, .text = "A file does not tell this."};
    if (name == "journal") {
        Arguments arguments(std::span(command.words).subspan(1), name);
        const std::uint64_t size = content.entries.size();
        const std::uint64_t first = std::min(arguments.Number("--since").value_or(0), size);
        const std::uint64_t most = arguments.Number("--most").value_or(size);
        report = ReportEntries(
            first, first + std::min(most, size - first),
            content.end, [&](std::uint64_t n) -> const auto& {
                return content.entries[static_cast<std::size_t>(n)];
            });
    } else if (name == "state") {
        report = {.json = Json()
                              .Add("ns", content.end)
                              .Add("begin", content.begin)
                              .Add("first", content.first)
                              .Add("lines", content.lines)};
    } else if (name == "vcd") {
        report = {.text = content.vcd};
    }
    return {report.exitCode, command.json ? report.json.Text() : report.text, report.next};
}

} // namespace

FileContent ReadContent(const std::string& name) {
    std::optional<std::string> text = host::ContentOf(PathOf(name));
    if (!text) {
        throw std::runtime_error(name + " cannot be read.");
    }
    const bool isOfCalls = wave::IsOfCalls(*text);
    const std::size_t begin = text->find_first_not_of(" \t\r\n");
    if (!isOfCalls && (begin == text->npos || (*text)[begin] != '$')) {
        throw std::runtime_error(name +
                                 " is neither a waveform (VCD) nor a recording of vendor calls.");
    }
    FileContent content;
    try {
        if (isOfCalls) {
            const record::Recording calls = record::ReadRecording(*text);
            content.entries = JournalOf(calls, LinesOf(calls));
            text = wave::VcdOf(wave::LinesOfCalls(*text));
        }
        const wave::Recording recording = wave::ReadVcd(*text);
        if (!isOfCalls) {
            content.entries = EntriesOf(recording);
        }
        content.begin = isOfCalls ? 0 : Nanoseconds(recording.begin);
        content.end = Nanoseconds(recording.end);
        // The journal of calls has each level that became known as an edge.
        content.first = LevelsAt(isOfCalls ? -1 : recording.begin, recording);
        content.lines = LevelsAt(recording.end, recording);
    } catch (const std::runtime_error& mistake) {
        throw std::runtime_error(name + ", " + mistake.what());
    }
    content.vcd = *std::move(text);
    if (content.vcd.ends_with('\n')) {
        content.vcd.pop_back(); // as replies have none
    }
    return content;
}

std::string DrawWaveform(const std::string& vcd) {
    return DrawSvg(TakePicture(wave::ReadVcd(vcd), {}, wave::Form::drawing));
}

panel::Source SourceOfFile(const std::string& name) {
    const auto content = std::make_shared<const FileContent>(ReadContent(name));
    return {.name = name,
            .isFile = true,
            .ask = [content](const auto& command) { return ReportFile(*content, command); },
            .draw = DrawWaveform};
}

} // namespace rig
