#include "wave_picture.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <cstdlib>

namespace rig::wave {

namespace {

constexpr int kMostDecimals = 12; // fs

// ---- Numbers as people read them ---------------------------------------------------------------

/// A time without trailing zeros: "66.4", "150.004", "200".
std::string TimeText(double milliseconds, int mostDecimals = 3) {
    std::array<char, 400> digits{}; // the largest double has 309 before its point
    const auto [end, error] = std::to_chars(digits.data(), digits.data() + digits.size(),
                                            milliseconds, std::chars_format::fixed, mostDecimals);
    std::string text(digits.data(), end);
    if (text.find('.') != std::string::npos) {
        text.erase(text.find_last_not_of('0') + 1);
        text.erase(text.find_last_not_of('.') + 1);
    }
    return text;
}

/// A duration in the largest unit in which it is at least 1: "10.06 ms", "4 µs", "500 ns".
std::string WidthText(double milliseconds, Form form) {
    constexpr std::array<const char*, 5> kUnits = {" ms", " µs", " ns", " ps", " fs"};
    if (form == Form::drawing) {
        std::array<char, 32> threeDigits{};
        std::snprintf(threeDigits.data(), threeDigits.size(), "%.3g", milliseconds);
        milliseconds = std::strtod(threeDigits.data(), nullptr);
    }
    std::size_t unit = 0;
    for (; milliseconds < 0.9999995 && unit + 1 < kUnits.size(); ++unit) { // 0.9999996 is 1
        milliseconds *= 1000;
    }
    return TimeText(milliseconds) + kUnits[unit];
}

/// Decimals for a resolution of about a thousandth of the time shown: 1 from 50 to 500 ms.
int RoundDecimals(double milliseconds) {
    int decimals = 0;
    for (; decimals < kMostDecimals && milliseconds < 500; ++decimals) {
        milliseconds *= 10;
    }
    return decimals;
}

std::vector<std::string> TimesOf(const std::vector<double>& moments, Form form) {
    const bool isRound = form == Form::drawing;
    for (int decimals = isRound ? RoundDecimals(moments.back() - moments.front()) : 3;;
         ++decimals) {
        std::vector<std::string> times;
        for (const double moment : moments) {
            times.push_back(TimeText(moment, decimals));
        }
        // Enough decimals to distinguish all moments; the last two may be equal.
        const bool isOne = moments.back() == moments[moments.size() - 2];
        const auto end = times.end() - (isOne ? 1 : 0);
        if (isRound || decimals == kMostDecimals || std::adjacent_find(times.begin(), end) == end) {
            return times;
        }
    }
}

// ---- What is wanted ----------------------------------------------------------------------------

const Signal& Find(const Recording& recording, const std::string& name) {
    std::string known;
    for (const Signal& signal : recording.signals) {
        if (signal.name == name || signal.path == name) {
            return signal;
        }
        known += (known.empty() ? "" : ", ") + signal.name;
    }
    throw ExcerptError("there is no signal \"" + name + "\" but: " + known + '.');
}

std::vector<const Signal*> Choose(const Recording& recording,
                                  const std::vector<std::string>& names) {
    std::vector<const Signal*> chosen;
    for (const std::string& name : names) {
        const Signal* signal = &Find(recording, name);
        if (std::find(chosen.begin(), chosen.end(), signal) == chosen.end()) {
            chosen.push_back(signal);
        }
    }
    for (std::size_t i = 0; names.empty() && i < recording.signals.size(); ++i) {
        chosen.push_back(&recording.signals[i]);
    }
    if (chosen.empty()) {
        throw ExcerptError("there are no signals.");
    }
    return chosen;
}

// ---- What the lines do -------------------------------------------------------------------------

/// The number of changes up to and including a time.
std::ptrdiff_t ChangesUpTo(double time, const Signal& signal) {
    const auto end = std::partition_point(signal.changes.begin(), signal.changes.end(),
                                          [=](const Change& each) { return each.time <= time; });
    return end - signal.changes.begin();
}

/// The level at a time; unknown before the first change.
Level LevelAt(double time, const Signal& signal) {
    const std::ptrdiff_t changes = ChangesUpTo(time, signal);
    return changes > 0 ? signal.changes[static_cast<std::size_t>(changes - 1)].level
                       : Level::unknown;
}

bool IsKnown(Level level) {
    return level == Level::low || level == Level::high;
}

Lane LaneOf(const Signal& signal, const Picture& picture) {
    Lane lane{signal.name, {}};
    std::vector<Stretch>& stretches = lane.stretches;
    for (std::size_t i = 0; i < picture.Intervals(); ++i) {
        const Level level = LevelAt(picture.moments[i], signal);
        if (stretches.empty() || stretches.back().level != level) {
            stretches.push_back({level, i, i, ""});
        }
        stretches.back().last = i + 1;
    }
    const auto rest = std::find_if(signal.changes.begin(), signal.changes.end(),
                                   [](const Change& change) { return IsKnown(change.level); });
    for (std::size_t i = 1; i + 1 < stretches.size(); ++i) {
        Stretch& stretch = stretches[i];
        if (IsKnown(stretch.level) && stretch.level != rest->level) {
            const double width = picture.moments[stretch.last] - picture.moments[stretch.first];
            stretch.width = WidthText(width, picture.form);
        }
    }
    return lane;
}

// ---- What happened beside them -----------------------------------------------------------------

/// Repetitions of a mark, without a change of the lines in between.
struct Run {
    Mark first;
    double last;
    std::size_t count;

    std::string Text() const {
        constexpr std::size_t kMostColumns = 20;
        return CutTo(kMostColumns, first.name) + (count > 1 ? " x" + std::to_string(count) : "");
    }
};

std::vector<Run> RunsOf(const std::vector<Mark>& marks, double begin, double end,
                        const std::vector<const Signal*>& signals) {
    std::vector<Run> runs;
    for (const Mark& mark : marks) {
        if (mark.time < begin || mark.time > end) {
            continue;
        }
        const bool goesOn =
            !runs.empty() && runs.back().first.name == mark.name &&
            std::ranges::all_of(signals, [&](const Signal* signal) {
                return ChangesUpTo(runs.back().last, *signal) == ChangesUpTo(mark.time, *signal);
            });
        if (goesOn) {
            runs.back().last = mark.time;
            ++runs.back().count;
        } else {
            runs.push_back({mark, mark.time, 1});
        }
    }
    return runs;
}

} // namespace

Picture TakePicture(const Recording& recording, const Excerpt& excerpt, Form form) {
    const double begin = std::max(excerpt.from, recording.begin);
    const double end = std::min(excerpt.to, recording.end);
    if (begin > end) {
        throw ExcerptError("nothing was recorded then: the recording goes from " +
                           TimeText(recording.begin) + " to " + TimeText(recording.end) + " ms.");
    }
    Picture picture{form, {begin}, {}, {}, {}, {}};
    const std::vector<const Signal*> chosen = Choose(recording, excerpt.signals);
    std::vector<double>& moments = picture.moments;
    for (const Signal* signal : chosen) { // the level at the beginning is not a change
        const auto changes = signal->changes.begin();
        std::transform(changes + ChangesUpTo(begin, *signal), changes + ChangesUpTo(end, *signal),
                       std::back_inserter(moments), [](const Change& each) { return each.time; });
    }
    const std::vector<Run> runs = RunsOf(recording.marks, begin, end, chosen);
    for (const Run& run : runs) {
        moments.push_back(run.first.time);
    }
    std::sort(moments.begin(), moments.end());
    moments.erase(std::unique(moments.begin(), moments.end()), moments.end());
    moments.push_back(end);
    picture.times = TimesOf(moments, form);
    picture.marks.resize(moments.size());
    for (const Run& run : runs) {
        const auto moment = std::ranges::lower_bound(moments, run.first.time) - moments.begin();
        std::string& mark = picture.marks[static_cast<std::size_t>(moment)];
        mark += (mark.empty() ? "" : ", ") + run.Text();
    }
    for (const Signal* signal : chosen) {
        Lane lane = LaneOf(*signal, picture);
        (lane.stretches.size() > 1 ? picture.lanes : picture.steady).push_back(std::move(lane));
    }
    return picture;
}

std::string MarksText(const Picture& picture) {
    std::string text;
    for (std::size_t i = 0; i < picture.marks.size(); ++i) {
        if (!picture.marks[i].empty()) {
            text +=
                (text.empty() ? "Events: " : ", ") + picture.marks[i] + " at " + picture.times[i];
        }
    }
    return text;
}

bool IsDisturbance(const std::string& mark) {
    constexpr std::array<const char*, 4> kDisturbances = {"unplug", "sleep", "fault", "ignored"};
    return std::ranges::any_of(kDisturbances,
                               [&](const char* name) { return mark.find(name) != mark.npos; });
}

std::string NothingChanges(const Picture& picture) {
    const std::string& begin = picture.times.front();
    const std::string& end = picture.times.back();
    return "Nothing changes " + (begin == end ? "at " + begin : "from " + begin + " to " + end) +
           " ms.";
}

std::string SteadyText(const Picture& picture, std::size_t mostNameColumns) {
    std::string text;
    for (const Lane& lane : picture.steady) {
        text += (text.empty() ? "Unchanged: " : ", ") + CutTo(mostNameColumns, lane.name) + ' ' +
                kLevelDigits[static_cast<std::size_t>(lane.stretches.front().level)];
    }
    return text;
}

std::string CutTo(std::size_t columns, const std::string& name) {
    return name.size() <= columns ? name : ".." + name.substr(name.size() - (columns - 2));
}

} // namespace rig::wave
