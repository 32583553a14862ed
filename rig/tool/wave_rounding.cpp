#include "wave_rounding.h"

#include <cmath>

#include "timescale.h"

namespace rig::wave {

namespace {

/// From 50 to 500 ms, for one, tenths of a millisecond.
int DecimalsFor(double milliseconds) {
    constexpr double kSteps = 500;
    constexpr int kMostDecimals = 12; // fs
    int decimals = 0;
    while (decimals < kMostDecimals && milliseconds < kSteps) {
        milliseconds *= 10;
        ++decimals;
    }
    return decimals;
}

double ToThreeDigits(double milliseconds) {
    if (!(milliseconds > 0)) {
        return 0;
    }
    const int digitsBeforePoint = static_cast<int>(std::floor(std::log10(milliseconds))) + 1;
    // By a whole power of ten, which is exact where its inverse is not.
    const double power = std::pow(10.0, std::abs(3 - digitsBeforePoint));
    return digitsBeforePoint > 3 ? std::round(milliseconds / power) * power
                                 : std::round(milliseconds * power) / power;
}

} // namespace

Picture Rounded(Picture picture) {
    const std::vector<double>& moments = picture.moments;
    const int decimals = DecimalsFor(moments.back() - moments.front());
    std::string before;
    for (std::size_t i = 0; i < moments.size(); ++i) {
        std::string time = TimeText(moments[i], decimals);
        picture.times[i] = time == before ? "" : time;
        before = std::move(time);
    }
    for (Lane& lane : picture.lanes) {
        for (Pulse& pulse : lane.pulses) {
            pulse.width = DurationText(ToThreeDigits(moments[pulse.last] - moments[pulse.first]));
        }
    }
    return picture;
}

} // namespace rig::wave
