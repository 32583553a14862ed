#include "wave_picture.h"

#include <algorithm>

namespace rig::wave {

namespace {

struct Range {
    std::uint64_t begin;
    std::uint64_t end;
};

Range RangeOf(const Recording& recording, const Excerpt& excerpt) {
    const Timescale& timescale = recording.timescale;
    const Range range{std::max(timescale.Ticks(excerpt.from), recording.begin),
                      std::min(timescale.Ticks(excerpt.to), recording.end)};
    if (range.begin > range.end) {
        throw ExcerptError("nothing was recorded then: the recording goes from " +
                           TimeText(timescale.Milliseconds(recording.begin)) + " to " +
                           TimeText(timescale.Milliseconds(recording.end)) + " ms.");
    }
    return range;
}

const Signal& Find(const Recording& recording, const std::string& name) {
    const auto& signals = recording.signals;
    const auto found = std::find_if(signals.begin(), signals.end(), [&](const Signal& signal) {
        return signal.name == name || signal.path == name;
    });
    if (found != signals.end()) {
        return *found;
    }
    std::string known;
    for (const Signal& signal : signals) {
        known += (known.empty() ? "" : ", ") + signal.name;
    }
    throw ExcerptError("there is no signal \"" + name + "\" but: " + known + '.');
}

std::vector<const Signal*> Choose(const Recording& recording,
                                  const std::vector<std::string>& names) {
    std::vector<const Signal*> chosen;
    if (names.empty()) {
        for (const Signal& signal : recording.signals) {
            chosen.push_back(&signal);
        }
    }
    for (const std::string& name : names) {
        const Signal* signal = &Find(recording, name);
        if (std::find(chosen.begin(), chosen.end(), signal) == chosen.end()) {
            chosen.push_back(signal);
        }
    }
    if (chosen.empty()) {
        throw ExcerptError("there are no signals.");
    }
    return chosen;
}

/// The changes after the beginning of a range, whose levels are a matter of course, up to its end.
std::pair<const Change*, const Change*> ChangesIn(const Signal& signal, Range range) {
    const auto upTo = [&](std::uint64_t time) {
        const Change* const first = signal.changes.data();
        return std::partition_point(first, first + signal.changes.size(),
                                    [=](const Change& change) { return change.time <= time; });
    };
    return {upTo(range.begin), upTo(range.end)};
}

std::vector<std::uint64_t> MomentsOf(const std::vector<const Signal*>& changing, Range range) {
    std::vector<std::uint64_t> moments = {range.begin};
    for (const Signal* signal : changing) {
        const auto [first, last] = ChangesIn(*signal, range);
        std::transform(first, last, std::back_inserter(moments),
                       [](const Change& change) { return change.time; });
    }
    std::sort(moments.begin(), moments.end());
    moments.erase(std::unique(moments.begin(), moments.end()), moments.end());
    moments.push_back(range.end);
    return moments;
}

std::vector<std::string> TextOf(const std::vector<double>& moments, int decimals) {
    std::vector<std::string> times(moments.size());
    std::transform(moments.begin(), moments.end(), times.begin(),
                   [=](double moment) { return TimeText(moment, decimals); });
    return times;
}

/// With three decimals, or with as many more as it takes to tell all moments apart.
std::vector<std::string> TimesOf(const std::vector<double>& moments) {
    constexpr int kDecimals = 3;
    constexpr int kMostDecimals = 12; // fs
    for (int decimals = kDecimals;; ++decimals) {
        std::vector<std::string> times = TextOf(moments, decimals);
        // The last interval may have no duration, its ends are one moment.
        const auto end =
            moments.back() > moments[moments.size() - 2] ? times.end() : times.end() - 1;
        if (decimals == kMostDecimals || std::adjacent_find(times.begin(), end) == end) {
            return times;
        }
    }
}

/// The level that a line leaves and comes back to: its first known one.
Level RestOf(const Signal& signal) {
    const auto known =
        std::find_if(signal.changes.begin(), signal.changes.end(), [](const Change& change) {
            return change.level == Level::low || change.level == Level::high;
        });
    return known != signal.changes.end() ? known->level : Level::unknown;
}

Lane LaneOf(const Signal& signal, const std::vector<std::uint64_t>& moments, Range range,
            Timescale timescale) {
    Lane lane{signal.name, {}, {}};
    const Level rest = RestOf(signal);
    const auto [first, last] = ChangesIn(signal, range);
    Level level = LevelAt(signal, range.begin);
    const auto indexOf = [&](const Change& change) {
        const auto moment = std::lower_bound(moments.begin(), moments.end(), change.time);
        return static_cast<std::size_t>(moment - moments.begin());
    };
    for (const Change* change = first; change != last; ++change) {
        const std::size_t index = indexOf(*change);
        lane.levels.resize(index, level);
        level = change->level;
        const bool isPulse = level != rest && (level == Level::low || level == Level::high);
        if (isPulse && change + 1 != last) {
            const std::uint64_t width = change[1].time - change->time;
            lane.pulses.push_back(
                {index, indexOf(change[1]), DurationText(timescale.Milliseconds(width))});
        }
    }
    lane.levels.resize(moments.size() - 1, level);
    return lane;
}

} // namespace

Picture TakePicture(const Recording& recording, const Excerpt& excerpt) {
    const Range range = RangeOf(recording, excerpt);
    Picture picture;
    std::vector<const Signal*> changing;
    for (const Signal* signal : Choose(recording, excerpt.signals)) {
        const auto [first, last] = ChangesIn(*signal, range);
        if (first == last) {
            picture.steady.push_back({signal->name, LevelAt(*signal, range.begin)});
        } else {
            changing.push_back(signal);
        }
    }
    const std::vector<std::uint64_t> moments = MomentsOf(changing, range);
    for (const std::uint64_t moment : moments) {
        picture.moments.push_back(recording.timescale.Milliseconds(moment));
    }
    picture.times = TimesOf(picture.moments);
    for (const Signal* signal : changing) {
        picture.lanes.push_back(LaneOf(*signal, moments, range, recording.timescale));
    }
    return picture;
}

std::string SteadyText(const Picture& picture) {
    std::string text;
    for (const SteadyLine& line : picture.steady) {
        text += (text.empty() ? "" : ", ") + line.name + ' ' + static_cast<char>(line.level);
    }
    return text;
}

} // namespace rig::wave
