#include "wave_layout.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace rig::wave {

namespace {

/// Blanks between a time and the next one.
constexpr std::size_t kBlanksAfterTime = 2;
/// The columns of a broken interval that the next block shows at its beginning.
constexpr std::size_t kLeadIn = 4;

struct Interval {
    std::size_t least = 0;  ///< the fewest columns
    std::size_t pulses = 0; ///< the number of pulses that a break here would cut
    double weight = 0;      ///< its share of the spare columns: 0 for none, or at least 1
    bool isCut = false;
};

std::string TimeAt(const Picture& picture, std::size_t moment) {
    const std::string& time = picture.times[moment];
    return moment > 0 && picture.times[moment - 1] == time ? "" : time;
}

/// Whether the end has a tick of its own: only if the last interval has a duration.
bool ShowsEnd(const Picture& picture) {
    return picture.Duration(picture.Intervals() - 1) > 0;
}

/// Widens the first interval of a pulse until the text of its width fits.
void MakeRoomFor(const Stretch& pulse, std::vector<Interval>& intervals, Form form) {
    constexpr std::size_t kInText = 5; // "┌─ 10 ms ─"
    constexpr std::size_t kInDrawing = 2;
    std::size_t lacking = ColumnsOf(pulse.width) + (form == Form::text ? kInText : kInDrawing);
    for (std::size_t i = pulse.first; i < pulse.last; ++i) {
        ++intervals[i].pulses;
        lacking -= std::min(lacking, intervals[i].least);
    }
    intervals[pulse.first].least += lacking;
}

/// The median duration, without those too short to be visible beside the longest.
double UsualDuration(std::vector<double> durations) {
    constexpr double kUnseen = 0.001;
    const double least = kUnseen * *std::max_element(durations.begin(), durations.end());
    std::erase_if(durations, [=](double duration) { return duration < least; });
    std::sort(durations.begin(), durations.end());
    return durations[durations.size() / 2];
}

void Weigh(std::vector<Interval>& intervals, const Picture& picture) {
    constexpr double kFarLonger = 4; // than usual: an interval is cut
    constexpr double kCutLength = 2; // the length drawn then
    std::vector<double> durations;
    double shortest = std::numeric_limits<double>::infinity();
    for (std::size_t i = 0; i < intervals.size(); ++i) {
        const double duration = picture.Duration(i);
        durations.push_back(duration);
        shortest = duration > 0 ? std::min(shortest, duration) : shortest;
    }
    const double usual = UsualDuration(durations);
    for (std::size_t i = 0; i < intervals.size(); ++i) {
        Interval& interval = intervals[i];
        if (!(durations[i] > 0)) {
            continue;
        }
        if (picture.form == Form::text) {
            interval.weight = 1 + std::log2(durations[i] / shortest);
            continue;
        }
        interval.isCut = durations[i] > kFarLonger * usual;
        const double length = interval.isCut ? kCutLength * usual : durations[i];
        interval.weight = std::max(1.0, length / shortest);
    }
}

/// The index after the last interval of the block that begins with `first`.
std::size_t EndOfBlock(std::size_t first, const std::vector<Interval>& intervals,
                       std::size_t columns) {
    std::size_t end = first + 1;
    std::size_t needed = first > 0 ? kLeadIn : intervals[0].least;
    const std::size_t atLeast = first + 2; // one change
    while (end < intervals.size() && (end < atLeast || needed + intervals[end].least <= columns)) {
        needed += intervals[end].least;
        ++end;
    }
    if (end == intervals.size()) {
        return end;
    }
    // Prefer a break that cuts fewer pulses, but keep at least half of the block.
    std::size_t best = end;
    for (std::size_t i = end - 1; i >= std::max(atLeast, first + (end - first) / 2); --i) {
        best = intervals[i - 1].pulses < intervals[best - 1].pulses ? i : best;
    }
    return best;
}

/// Widens the intervals until the block is full, all to the same multiple of their weights;
/// intervals that are wider than that keep their width.
Block LayOutBlock(std::size_t first, const std::vector<Interval>& intervals, std::size_t columns,
                  const Picture& picture) {
    const auto endsAt = [&](double scale) {
        std::vector<double> ends = {0};
        for (const Interval& interval : intervals) {
            const auto least = static_cast<double>(interval.least);
            ends.push_back(ends.back() + std::max(least, scale * interval.weight));
        }
        return ends;
    };
    double scale = 0;
    double step = static_cast<double>(columns);
    for (int i = 0; i < 64; ++i, step /= 2) {
        scale += endsAt(scale + step).back() <= static_cast<double>(columns) ? step : 0;
    }
    Block block{first, {}, {}, {}, {}};
    for (const double end : endsAt(scale)) {
        block.columns.push_back(static_cast<std::size_t>(std::lround(end)));
    }
    for (std::size_t i = first > 0 ? 1 : 0; i < intervals.size(); ++i) {
        const std::size_t column = block.columns[i];
        block.times.push_back({column, column, TimeAt(picture, first + i)});
        if (const std::string& mark = picture.marks[first + i]; !mark.empty()) {
            block.marks.push_back({column, column, mark});
        }
        if (intervals[i].isCut) {
            block.cuts.push_back(block.columns[i + 1]);
        }
    }
    if (block.Last() == picture.Intervals() && ShowsEnd(picture)) {
        const std::string time = TimeAt(picture, block.Last());
        block.times.push_back({block.Width(), block.Width() - time.size(), time});
    }
    return block;
}

} // namespace

std::size_t Block::ColumnOf(std::size_t moment) const {
    return columns[std::clamp(moment, first, Last()) - first];
}

std::size_t ColumnsOf(const std::string& text) {
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) {
        return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U; // not a continuation byte
    }));
}

std::vector<Block> LayOut(const Picture& picture, std::size_t columns) {
    std::vector<Interval> intervals(picture.Intervals());
    for (std::size_t i = 0; i < intervals.size(); ++i) {
        intervals[i].least =
            std::max(TimeAt(picture, i).size(), picture.marks[i].size()) + kBlanksAfterTime;
    }
    if (ShowsEnd(picture)) {
        intervals.back().least += TimeAt(picture, picture.Intervals()).size();
    }
    for (const Lane& lane : picture.lanes) {
        for (const Stretch& stretch : lane.stretches) {
            if (!stretch.width.empty()) {
                MakeRoomFor(stretch, intervals, picture.form);
            }
        }
    }
    Weigh(intervals, picture);
    std::vector<Block> blocks;
    for (std::size_t end = 0; end < intervals.size();) {
        const std::size_t first = end > 0 ? end - 1 : 0;
        end = EndOfBlock(first, intervals, columns);
        const auto begin = intervals.begin() + static_cast<std::ptrdiff_t>(first);
        std::vector<Interval> shown(begin, begin + static_cast<std::ptrdiff_t>(end - first));
        if (first > 0) {
            shown.front() = {.least = kLeadIn};
        }
        blocks.push_back(LayOutBlock(first, shown, columns, picture));
    }
    return blocks;
}

} // namespace rig::wave
