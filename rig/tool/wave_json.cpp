#include "wave_json.h"

#include <algorithm>
#include <array>
#include <optional>

#include <nlohmann/json.hpp>

#include "wave_layout.h"

namespace rig::wave {

namespace {

using nlohmann::ordered_json;

/// A period of WaveDrom's is 40 pixels wide, a character about 8.
constexpr std::size_t kColumnsPerPeriod = 5;
constexpr std::size_t kUsualColumns = 100;
/// Between two times, which WaveDrom centres on their moments.
constexpr std::size_t kBlanksBetweenTimes = 2;

/// How many periods each interval takes.
std::vector<std::size_t> PeriodsOf(const Picture& picture) {
    std::vector<std::size_t> periods;
    for (const Span& span : LayOutInOne(picture, kUsualColumns)) {
        const std::size_t halves =
            picture.times[span.interval].size() + picture.times[span.interval + 1].size();
        const std::size_t columns = std::max(span.columns, halves / 2 + kBlanksBetweenTimes);
        periods.push_back((columns + kColumnsPerPeriod - 1) / kColumnsPerPeriod);
    }
    return periods;
}

/// The name of the n-th node, one character. WaveDrom shows the names of nodes but for capital
/// letters, so those of the Latin alphabet are used and then the Cherokee ones, a long row in which
/// every letter is a capital.
std::optional<std::string> NodeName(std::size_t n) {
    constexpr std::size_t kLatin = 26;
    constexpr std::size_t kCherokee = 80; // U+13A0 to U+13EF
    if (n < kLatin) {
        return std::string(1, static_cast<char>('A' + n));
    }
    if (n >= kLatin + kCherokee) {
        return std::nullopt;
    }
    const std::size_t letter = 0x13A0 + (n - kLatin);
    return std::string{'\xE1', static_cast<char>(0x80U | (letter >> 6U & 0x3FU)),
                       static_cast<char>(0x80U | (letter & 0x3FU))};
}

class JsonDrawer {
  public:
    explicit JsonDrawer(const Picture& drawn) : picture(drawn), periods(PeriodsOf(drawn)) {
        starts.push_back(0);
        for (const std::size_t count : periods) {
            starts.push_back(starts.back() + count);
        }
    }

    std::string Draw();

  private:
    std::string Wave(const Lane& lane) const;
    /// Names the ends of the lane's pulses, and adds an edge with the width of each.
    std::string Nodes(const Lane& lane);
    std::string Ticks() const;

    const Picture& picture;
    const std::vector<std::size_t> periods; ///< of each interval
    std::vector<std::size_t> starts;        ///< the period at which each moment is
    ordered_json edges = ordered_json::array();
    std::size_t nodes = 0;
};

std::string JsonDrawer::Draw() {
    ordered_json lanes = ordered_json::array();
    for (const Lane& lane : picture.lanes) {
        ordered_json& object = lanes.emplace_back();
        object["name"] = lane.name;
        object["wave"] = Wave(lane);
        if (const std::string names = Nodes(lane); !names.empty()) {
            object["node"] = names;
        }
    }
    ordered_json source;
    source["signal"] = std::move(lanes);
    if (!edges.empty()) {
        source["edge"] = std::move(edges);
    }
    source["head"]["text"] =
        picture.times.front() + " to " + picture.times.back() + " ms, not to scale";
    source["head"]["tick"] = Ticks();
    if (const std::string steady = SteadyText(picture); !steady.empty()) {
        source["foot"]["text"] = "Unchanged: " + steady;
    }
    return source.dump(2) + '\n';
}

std::string JsonDrawer::Wave(const Lane& lane) const {
    constexpr char kAsBefore = '.';
    std::string wave;
    for (std::size_t i = 0; i < periods.size(); ++i) {
        const bool isChange = i == 0 || lane.levels[i] != lane.levels[i - 1];
        wave += isChange ? static_cast<char>(lane.levels[i]) : kAsBefore;
        wave.append(periods[i] - 1, kAsBefore);
    }
    return wave;
}

std::string JsonDrawer::Nodes(const Lane& lane) {
    std::string names;
    std::size_t next = 0; // the period that the next character of `names` is for
    const auto put = [&](std::size_t moment, const std::string& name) {
        names.append(starts[moment] - next, '.');
        names += name;
        next = starts[moment] + 1;
    };
    for (const Pulse& pulse : lane.pulses) {
        const auto begin = NodeName(nodes);
        const auto end = NodeName(nodes + 1);
        if (!begin || !end) {
            break;
        }
        nodes += 2;
        put(pulse.first, *begin);
        put(pulse.last, *end);
        edges.push_back(*begin + "<->" + *end + ' ' + pulse.width);
    }
    return names;
}

/// A word a period: the time of the moment there, or a dot.
std::string JsonDrawer::Ticks() const {
    std::vector<std::string> ticks(starts.back() + 1, "·");
    for (std::size_t i = 0; i < picture.moments.size(); ++i) {
        // A last interval without a duration has one time, at its beginning.
        if (i == 0 || picture.moments[i] > picture.moments[i - 1]) {
            ticks[starts[i]] = picture.times[i];
        }
    }
    std::string words;
    for (const std::string& tick : ticks) {
        words += tick;
        words += ' '; // behind the last one too: WaveDrom 3.7 appends a "0", which becomes a word
    }
    return words;
}

} // namespace

std::string WaveJson(const Picture& picture) {
    return JsonDrawer(picture).Draw();
}

} // namespace rig::wave
