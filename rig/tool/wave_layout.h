/// The compressed time axis: how wide each interval is drawn.
///
/// A true axis would show a pulse of some microseconds beside one of 10 ms as a hairline. Here
/// every interval is as wide as what is written on it needs. The room that is left goes to long
/// intervals: in a drawing in proportion, but for stretches that are far longer than usual, which
/// are cut; in a text far from in proportion.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "wave_picture.h"

namespace rig::wave {

/// A piece of the axis that is drawn at once, from left to right. A block after the first begins
/// with the end of the interval that the one before it broke off in, so that every change is seen
/// with the levels on both its sides.
struct Block {
    std::size_t first = 0;            ///< its first interval, of which one after the first block
                                      ///< shows the end alone
    std::vector<std::size_t> columns; ///< where its intervals begin, and where the last one ends
    std::vector<std::size_t> cuts;    ///< where intervals end that are longer than they look

    /// A time in the row above the lines. That of the end, if it is here, stands at the right.
    struct Time {
        std::size_t column;    ///< of its moment
        std::size_t textBegin; ///< the column at which its text begins
        std::string text;      ///< empty when it is that of the moment before
    };
    std::vector<Time> times;
    std::vector<Time> marks; ///< likewise, of what happened

    std::size_t Last() const { return first + columns.size() - 1; } ///< its last moment
    std::size_t Width() const { return columns.back(); }
    bool Shows(const Stretch& stretch) const {
        return stretch.first < Last() && stretch.last > first;
    }
    /// Where a moment is, or the end of the block that is nearer to it.
    std::size_t ColumnOf(std::size_t moment) const;
};

/// Blocks of this many columns, broken where few pulses are. One is wider only if it shows but one
/// change, which needs more.
std::vector<Block> LayOut(const Picture& picture, std::size_t columns);

/// The columns that a UTF-8 text takes, one a character.
std::size_t ColumnsOf(const std::string& text);

} // namespace rig::wave
