/// The compressed time axis: how wide each interval is drawn.
///
/// A true axis would show a pulse of some microseconds beside one of 10 ms as a hairline. Here
/// every interval is as wide as what is written on it needs, and what room is left goes to the long
/// ones by the logarithm of their durations.
#pragma once

#include <cstddef>
#include <vector>

#include "wave_picture.h"

namespace rig::wave {

/// The columns of one interval.
struct Span {
    std::size_t interval;
    std::size_t columns;
};

/// A piece of the axis that is drawn at once, from left to right. A block after the first begins
/// with the end of the interval that the one before it broke off in, so that every change is seen
/// with the levels on both its sides.
using Block = std::vector<Span>;

/// Few blocks of this many columns, broken where few pulses are cut. A block is wider only if it
/// shows but one change, which needs more.
std::vector<Block> LayOut(const Picture& picture, std::size_t columns);

/// One block of this many columns, or of as many as it needs.
Block LayOutInOne(const Picture& picture, std::size_t columns);

/// The columns that a UTF-8 text takes, one a character.
std::size_t ColumnsOf(const std::string& text);

} // namespace rig::wave
