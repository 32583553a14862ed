/// The compressed time axis: how wide each interval is drawn.
///
/// A true axis would show a pulse of some microseconds beside one of 10 ms as a hairline. Here
/// every interval is as wide as what is written on it needs, and its form decides who gets the room
/// that is left.
#pragma once

#include <cstddef>
#include <vector>

#include "wave_picture.h"

namespace rig::wave {

enum class Form {
    text,    ///< long intervals get more room, but far from in proportion
    drawing, ///< in proportion, but for stretches that are far longer than usual: these are cut
};

/// The columns of one interval.
struct Span {
    std::size_t interval = 0;
    std::size_t columns = 0;
    bool isCut = false; ///< of a drawing: the interval is longer than it looks
};

/// A piece of the axis that is drawn at once, from left to right. A block after the first begins
/// with the end of the interval that the one before it broke off in, so that every change is seen
/// with the levels on both its sides.
using Block = std::vector<Span>;

/// Few blocks of this many columns, broken where few pulses are cut. A block is wider only if it
/// shows but one change, which needs more.
std::vector<Block> LayOut(const Picture& picture, std::size_t columns, Form form = Form::text);

/// The columns that a UTF-8 text takes, one a character.
std::size_t ColumnsOf(const std::string& text);

/// A name of ASCII characters, or as much of its end as there is room for: the end of a path tells
/// more than its beginning.
std::string CutTo(std::size_t columns, const std::string& name);

} // namespace rig::wave
