/// The compressed time axis: how wide each interval is drawn.
///
/// On a true axis, a pulse of some microseconds beside one of 10 ms would be a hairline. Here every
/// interval is at least as wide as the text on it. The remaining width goes to long intervals: in a
/// drawing in proportion to their durations, except that far longer ones are cut; in a text only
/// roughly by duration.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "wave_picture.h"

namespace rig::wave {

/// A piece of the axis that fits one row of the picture. Each later block begins with the end of
/// the interval at which the previous one stopped, so that every change is shown with the levels on
/// both sides.
struct Block {
    std::size_t first = 0;            ///< its first interval, of which one after the first block
                                      ///< shows the end alone
    std::vector<std::size_t> columns; ///< where its intervals begin, and where the last one ends
    std::vector<std::size_t> cuts;    ///< where intervals end that are longer than they look

    /// A time in the row above the lines. The time of the end is right-aligned.
    struct Time {
        std::size_t column;    ///< the column of its moment
        std::size_t textBegin; ///< the column at which its text begins
        std::string text;      ///< empty when equal to that of the previous moment
    };
    std::vector<Time> times;
    std::vector<Time> marks; ///< the marks, in the same form

    std::size_t Last() const { return first + columns.size() - 1; } ///< its last moment
    std::size_t Width() const { return columns.back(); }
    bool Shows(const Stretch& stretch) const {
        return stretch.first < Last() && stretch.last > first;
    }
    /// The column of a moment; of one outside the block, that of the nearer end.
    std::size_t ColumnOf(std::size_t moment) const;
};

/// Divides the picture into blocks of this many columns, broken where few pulses are. A block is
/// wider only if a single change needs more.
std::vector<Block> LayOut(const Picture& picture, std::size_t columns);

/// The columns that a UTF-8 text takes, one per character.
std::size_t ColumnsOf(const std::string& text);

} // namespace rig::wave
