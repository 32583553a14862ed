#include <algorithm>
#include <array>
#include <string_view>

#include "wave_layout.h"
#include "wave_picture.h"

namespace rig::wave {

namespace {

constexpr std::string_view kGap = "  "; ///< between the names and the picture
/// Names are cut rather than take more than this share of a row.
constexpr std::size_t kNameShare = 3;

/// The characters for drawing a line. A high level is at half the height of the row and a low one
/// at its bottom, so that the corners connect them.
struct Pen {
    std::array<const char*, 4> levels;
    const char *rise, *fall;
    const char *toHigh, *fromHigh; ///< from and to a level that is neither high nor low
    const char* otherwise;
    const char* micro; ///< of "µs"
};
constexpr Pen kLinePen = {{"_", "─", "░", "╌"}, "┌", "┐", "├", "┤", "│", "µ"};
constexpr Pen kAsciiPen = {{"_", "-", "?", "."}, "/", "\\", "|", "|", "|", "u"};

const char* CornerOf(const Pen& pen, Level before, Level after) {
    if (after == Level::high) {
        return before == Level::low ? pen.rise : pen.toHigh;
    }
    if (before == Level::high) {
        return after == Level::low ? pen.fall : pen.fromHigh;
    }
    return pen.otherwise;
}

/// One row of the picture, one UTF-8 character per column.
using Row = std::vector<std::string>;

/// Overwrites a row from a column on.
void Write(Row& row, std::size_t column, const std::string& utf8) {
    for (std::size_t i = 0; i < utf8.size(); ++column) {
        const std::size_t begin = i++;
        while (i < utf8.size() && ColumnsOf(utf8.substr(i, 1)) == 0) {
            ++i;
        }
        row[column] = utf8.substr(begin, i - begin);
    }
}

Row Texts(const Block& block, const std::vector<Block::Time>& times) {
    Row row(block.Width(), " ");
    for (const Block::Time& time : times) {
        Write(row, time.textBegin, time.text);
    }
    return row;
}

/// The width of a pulse is in the middle of its part in this block, if there is room for it with a
/// blank on each side.
Row Line(const Block& block, const Lane& lane, const Pen& pen) {
    Row row;
    const Stretch* before = nullptr;
    for (const Stretch& stretch : lane.stretches) {
        if (!block.Shows(stretch)) {
            continue;
        }
        std::size_t begin = row.size();
        row.resize(block.ColumnOf(stretch.last),
                   pen.levels[static_cast<std::size_t>(stretch.level)]);
        if (before != nullptr) {
            row[begin++] = CornerOf(pen, before->level, stretch.level);
        }
        before = &stretch;
        if (stretch.width.empty()) {
            continue;
        }
        std::string text = ' ' + stretch.width + ' ';
        if (const std::size_t micro = text.find("µ"); micro != std::string::npos) {
            text.replace(micro, std::string_view("µ").size(), pen.micro);
        }
        const std::size_t room = row.size() - begin;
        if (const std::size_t needed = ColumnsOf(text); needed <= room) {
            Write(row, begin + (room - needed) / 2, text);
        }
    }
    return row;
}

std::string Text(std::string name, std::size_t nameColumns, const Row& row) {
    name.resize(nameColumns, ' ');
    std::string text = name.append(kGap);
    for (const std::string& character : row) {
        text += character;
    }
    text.erase(text.find_last_not_of(' ') + 1);
    return text + '\n';
}

std::string Blocks(const Picture& picture, std::size_t allColumns, const Pen& pen) {
    constexpr std::string_view kUnit = "ms";
    const std::string kEvents = "events";
    const bool hasMarks = !MarksText(picture).empty();
    std::size_t longest = hasMarks ? kEvents.size() : kUnit.size();
    for (const Lane& lane : picture.lanes) {
        longest = std::max(longest, lane.name.size());
    }
    const std::size_t nameColumns = std::min(longest, allColumns / kNameShare);
    std::string text;
    for (const Block& block : LayOut(picture, allColumns - nameColumns - kGap.size())) {
        text += text.empty() ? "" : "\n";
        text += Text(std::string(kUnit), nameColumns, Texts(block, block.times));
        if (hasMarks) {
            text += Text(CutTo(nameColumns, kEvents), nameColumns, Texts(block, block.marks));
        }
        for (const Lane& lane : picture.lanes) {
            text += Text(CutTo(nameColumns, lane.name), nameColumns, Line(block, lane, pen));
        }
    }
    return text;
}

} // namespace

std::string DrawText(const Picture& picture, std::size_t columns, bool ascii) {
    const bool isStill = picture.lanes.empty();
    std::string text = isStill ? NothingChanges(picture) + '\n'
                               : Blocks(picture, columns, ascii ? kAsciiPen : kLinePen);
    if (const std::string marks = MarksText(picture); isStill && !marks.empty()) {
        text += marks + " ms.\n";
    }
    if (const std::string steady = SteadyText(picture, std::string::npos); !steady.empty()) {
        text += (isStill && MarksText(picture).empty() ? "" : "\n") + steady + '\n';
    }
    return text;
}

} // namespace rig::wave
