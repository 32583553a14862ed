#include "timescale.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>

namespace rig::wave {

namespace {

struct Unit {
    const char* name;
    double perMillisecond;
};
constexpr std::array<Unit, 5> kUnits = {
    {{" ms", 1.0}, {" µs", 1e3}, {" ns", 1e6}, {" ps", 1e9}, {" fs", 1e12}}};

} // namespace

double Timescale::Milliseconds(std::uint64_t ticks) const {
    const auto count = static_cast<double>(ticks);
    // Dividing by a whole power of ten is exact where multiplying with its inverse is not.
    return exponent < 0 ? count / std::pow(10.0, -exponent) : count * std::pow(10.0, exponent);
}

std::uint64_t Timescale::Ticks(double milliseconds) const {
    const double ticks = std::round(exponent < 0 ? milliseconds * std::pow(10.0, -exponent)
                                                 : milliseconds / std::pow(10.0, exponent));
    constexpr double kTooMany = 18446744073709551616.0; // 2^64
    if (!(ticks < kTooMany)) {
        return std::numeric_limits<std::uint64_t>::max();
    }
    return ticks > 0 ? static_cast<std::uint64_t>(ticks) : 0;
}

std::string TimeText(double milliseconds, int mostDecimals) {
    std::array<char, 400> digits{}; // the largest double has 309 before its point
    const auto [end, error] = std::to_chars(digits.data(), digits.data() + digits.size(),
                                            milliseconds, std::chars_format::fixed, mostDecimals);
    std::string text(digits.data(), end);
    if (text.find('.') != std::string::npos) {
        text.erase(text.find_last_not_of('0') + 1);
        if (text.back() == '.') {
            text.pop_back();
        }
    }
    return text;
}

std::string DurationText(double milliseconds) {
    // The largest unit of which there is at least one; half a thousandth is lost in rounding.
    const auto* unit = std::find_if(kUnits.begin(), kUnits.end() - 1, [=](const Unit& candidate) {
        return milliseconds * candidate.perMillisecond >= 0.9999995;
    });
    return TimeText(milliseconds * unit->perMillisecond) + unit->name;
}

} // namespace rig::wave
