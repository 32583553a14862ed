#include "wave_layout.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string_view>
#include <tuple>

namespace rig::wave {

namespace {

/// Between a time and the next one.
constexpr std::size_t kBlanksAfterTime = 2;
/// What is seen of a broken interval at the beginning of the next block.
constexpr std::size_t kLeadIn = 4;

/// How far apart the two changes of a pulse must be for its width to be written between them.
std::size_t ColumnsOfPulse(const Pulse& pulse, Form form) {
    constexpr std::size_t kCorner = 1;
    constexpr std::size_t kDashAndBlank = 2;
    constexpr std::size_t kBlank = 1;
    return ColumnsOf(pulse.width) + (form == Form::text ? kCorner + 2 * kDashAndBlank : 2 * kBlank);
}

std::vector<const Pulse*> ShortestFirst(const std::vector<Lane>& lanes) {
    std::vector<const Pulse*> pulses;
    for (const Lane& lane : lanes) {
        for (const Pulse& pulse : lane.pulses) {
            pulses.push_back(&pulse);
        }
    }
    std::stable_sort(pulses.begin(), pulses.end(), [](const Pulse* a, const Pulse* b) {
        return a->last - a->first < b->last - b->first;
    });
    return pulses;
}

/// The fewest columns of each interval.
std::vector<std::size_t> LeastColumns(const Picture& picture, Form form) {
    std::vector<std::size_t> least;
    for (std::size_t i = 0; i < picture.Intervals(); ++i) {
        least.push_back(picture.times[i].size() + kBlanksAfterTime);
    }
    if (picture.moments.back() > picture.moments[picture.Intervals() - 1]) {
        least.back() += picture.times.back().size(); // stands at the right end
    }
    const auto duration = [&](std::size_t interval) {
        return picture.moments[interval + 1] - picture.moments[interval];
    };
    // What a pulse of few intervals needs may do for the longer ones around it. What a pulse lacks
    // is given to the longest of its intervals.
    for (const Pulse* pulse : ShortestFirst(picture.lanes)) {
        const std::size_t needed = ColumnsOfPulse(*pulse, form);
        std::size_t columns = 0;
        std::size_t longest = pulse->first;
        for (std::size_t i = pulse->first; i < pulse->last && columns < needed; ++i) {
            columns += least[i];
            longest = duration(i) > duration(longest) ? i : longest;
        }
        least[longest] += needed > columns ? needed - columns : 0;
    }
    return least;
}

std::vector<double> DurationsOf(const std::vector<double>& moments) {
    std::vector<double> durations;
    for (std::size_t i = 1; i < moments.size(); ++i) {
        durations.push_back(moments[i] - moments[i - 1]);
    }
    return durations;
}

/// A drawing cuts what lasts far longer than is usual among its intervals.
constexpr double kFarLonger = 4;
/// How long it then looks.
constexpr double kCutLength = 2;

/// The median of those that are long enough to be seen beside the longest.
double UsualDuration(std::vector<double> durations) {
    constexpr double kUnseen = 0.001;
    const double least = kUnseen * *std::max_element(durations.begin(), durations.end());
    std::erase_if(durations, [=](double duration) { return duration < least; });
    const auto middle = durations.begin() + static_cast<std::ptrdiff_t>(durations.size() / 2);
    std::nth_element(durations.begin(), middle, durations.end());
    return *middle;
}

/// How much of the spare room each interval asks for: 0 for none, or at least 1.
std::vector<double> WeightsOf(const std::vector<double>& durations, Form form) {
    double shortest = std::numeric_limits<double>::infinity();
    for (const double duration : durations) {
        shortest = duration > 0 ? std::min(shortest, duration) : shortest;
    }
    const double usual = UsualDuration(durations);
    std::vector<double> weights(durations.size());
    std::transform(durations.begin(), durations.end(), weights.begin(), [=](double duration) {
        if (!(duration > 0)) {
            return 0.0;
        }
        if (form == Form::text) {
            return 1.0 + std::log2(duration / shortest);
        }
        const double length = duration > kFarLonger * usual ? kCutLength * usual : duration;
        return std::max(1.0, length / shortest);
    });
    return weights;
}

/// How many pulses a break in each interval would cut.
std::vector<std::size_t> CutsOf(const Picture& picture) {
    std::vector<std::size_t> begun(picture.moments.size(), 0);
    std::vector<std::size_t> ended(picture.moments.size(), 0);
    for (const Lane& lane : picture.lanes) {
        for (const Pulse& pulse : lane.pulses) {
            ++begun[pulse.first];
            ++ended[pulse.last];
        }
    }
    std::vector<std::size_t> cuts;
    std::size_t lasting = 0;
    for (std::size_t i = 0; i < picture.Intervals(); ++i) {
        lasting = lasting + begun[i] - ended[i];
        cuts.push_back(lasting);
    }
    return cuts;
}

/// What is better is less. A pulse in one piece is worth a block more; after that blocks of the
/// same fullness look best.
struct Cost {
    std::size_t blocksAndCuts = 0;
    std::size_t cuts = 0;
    double unevenness = 0;

    bool operator<(const Cost& other) const {
        return std::tie(blocksAndCuts, cuts, unevenness) <
               std::tie(other.blocksAndCuts, other.cuts, other.unevenness);
    }
};

/// The intervals that are broken, in order.
std::vector<std::size_t> BreaksOf(const Picture& picture, const std::vector<std::size_t>& least,
                                  std::size_t columns) {
    // The changes up to the one that begins interval i cost at least best[i].cost, and the last
    // block of them begins in the interval best[i].from: the one broken before it.
    struct Best {
        Cost cost;
        std::size_t from = 0;
    };
    constexpr Cost kImpossible{std::numeric_limits<std::size_t>::max()};
    const std::vector<std::size_t> cuts = CutsOf(picture);
    const std::size_t last = picture.Intervals() - 1;
    std::vector<Best> best(last + 1, Best{kImpossible});
    best[0].cost = {};
    for (std::size_t i = 1; i <= last; ++i) {
        std::size_t needed = 0;
        for (std::size_t from = i; from-- > 0;) {
            needed += least[from + 1];
            const std::size_t all = needed + (from == 0 ? least[0] : kLeadIn);
            if (all > columns && from + 1 < i) {
                break;
            }
            Cost cost = best[from].cost;
            const double spare = static_cast<double>(columns) - static_cast<double>(all);
            const std::size_t cut = i < last ? cuts[i] : 0;
            cost.blocksAndCuts += 1 + cut;
            cost.cuts += cut;
            cost.unevenness += spare * spare;
            if (cost < best[i].cost) {
                best[i] = {cost, from};
            }
        }
    }
    std::vector<std::size_t> breaks;
    for (std::size_t i = best[last].from; i > 0; i = best[i].from) {
        breaks.push_back(i);
    }
    std::reverse(breaks.begin(), breaks.end());
    return breaks;
}

/// Widens the spans of a block until it is full: to one multiple of their weights, but for those
/// that are wider already.
void Fill(Block& block, const std::vector<double>& weights, std::size_t columns) {
    const auto wanted = [&](std::size_t i, double scale) {
        return std::max(static_cast<double>(block[i].columns), scale * weights[i]);
    };
    const auto total = [&](double scale) {
        double sum = 0;
        for (std::size_t i = 0; i < block.size(); ++i) {
            sum += wanted(i, scale);
        }
        return sum;
    };
    const auto room = static_cast<double>(columns);
    if (total(0) >= room) {
        return;
    }
    // Every weight but 0 is 1 at least, so that the upper scale is more than enough. A block that
    // has only weights of 0 stays as it is.
    double lower = 0;
    double upper = room;
    for (int step = 0; step < 64; ++step) {
        const double middle = (lower + upper) / 2;
        (total(middle) < room ? lower : upper) = middle;
    }
    // Whole columns, each rounded where its right end falls, so that no error adds up.
    double end = 0;
    std::size_t done = 0;
    for (std::size_t i = 0; i < block.size(); ++i) {
        end += wanted(i, lower);
        const auto column = static_cast<std::size_t>(std::lround(end));
        block[i].columns = column - done;
        done = column;
    }
}

} // namespace

std::size_t ColumnsOf(const std::string& text) {
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) {
        return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U; // not a byte that continues
    }));
}

std::string CutTo(std::size_t columns, const std::string& name) {
    constexpr std::string_view kCut = "..";
    return name.size() <= columns
               ? name
               : std::string(kCut) + name.substr(name.size() - (columns - kCut.size()));
}

std::vector<Block> LayOut(const Picture& picture, std::size_t columns, Form form) {
    const std::vector<std::size_t> least = LeastColumns(picture, form);
    const std::vector<double> durations = DurationsOf(picture.moments);
    const std::vector<double> weights = WeightsOf(durations, form);
    const double longest = form == Form::drawing ? kFarLonger * UsualDuration(durations)
                                                 : std::numeric_limits<double>::infinity();
    std::vector<std::size_t> ends = BreaksOf(picture, least, columns);
    ends.push_back(picture.Intervals() - 1);

    std::vector<Block> blocks;
    std::size_t next = 0;
    for (const std::size_t end : ends) {
        Block block;
        std::vector<double> blockWeights;
        if (next > 0) {
            block.push_back({next - 1, kLeadIn});
            blockWeights.push_back(0);
        }
        for (; next <= end; ++next) {
            block.push_back({next, least[next], durations[next] > longest});
            blockWeights.push_back(weights[next]);
        }
        Fill(block, blockWeights, columns);
        blocks.push_back(std::move(block));
    }
    return blocks;
}

} // namespace rig::wave
