#include "text_wave.h"

#include <algorithm>
#include <string_view>

#include "block_columns.h"
#include "wave_layout.h"

namespace rig::wave {

namespace {

constexpr std::string_view kUnit = "ms";
constexpr std::string_view kGap = "  "; ///< between the names and the picture
/// Names are cut rather than take more than this share of a row.
constexpr std::size_t kNameShare = 3;

/// One row of the picture, a character a column.
using Row = std::u32string;

/// What a line is drawn with. A high line runs at half the height of its row and a low one at its
/// foot, so that the corners join them.
struct Pen {
    char32_t low, high, unknown, floating;
    char32_t rise, fall;
    char32_t toHigh, fromHigh; ///< from and to a level that is neither high nor low
    char32_t otherwise;
    char32_t micro; ///< of "µs"
};
constexpr Pen kLinePen = {U'_', U'─', U'░', U'╌', U'┌', U'┐', U'├', U'┤', U'│', U'µ'};
constexpr Pen kAsciiPen = {U'_', U'-', U'?', U'.', U'/', U'\\', U'|', U'|', U'|', U'u'};

char32_t StrokeOf(const Pen& pen, Level level) {
    switch (level) {
    case Level::low:
        return pen.low;
    case Level::high:
        return pen.high;
    case Level::floating:
        return pen.floating;
    case Level::unknown:
        break;
    }
    return pen.unknown;
}

char32_t CornerOf(const Pen& pen, Level before, Level after) {
    if (before == Level::low && after == Level::high) {
        return pen.rise;
    }
    if (before == Level::high && after == Level::low) {
        return pen.fall;
    }
    if (after == Level::high) {
        return pen.toHigh;
    }
    return before == Level::high ? pen.fromHigh : pen.otherwise;
}

void AppendUtf8(std::string& text, char32_t c) {
    const auto byte = [&](char32_t value) { text.push_back(static_cast<char>(value)); };
    if (c < 0x80) {
        byte(c);
    } else if (c < 0x800) {
        byte(0xC0U | c >> 6U);
        byte(0x80U | (c & 0x3FU));
    } else { // no character here lies beyond the basic plane
        byte(0xE0U | c >> 12U);
        byte(0x80U | (c >> 6U & 0x3FU));
        byte(0x80U | (c & 0x3FU));
    }
}

/// Writes over a row from a column on.
void Write(Row& row, std::size_t column, std::string_view ascii) {
    std::copy(ascii.begin(), ascii.end(), row.begin() + static_cast<std::ptrdiff_t>(column));
}

class BlockDrawer {
  public:
    BlockDrawer(const Picture& drawn, const Block& drawnBlock, const Pen& drawnWith)
        : picture(drawn), block(drawnBlock), pen(drawnWith), columns(drawn, drawnBlock) {}

    Row Times() const;
    Row Line(const Lane& lane) const;

  private:
    void WriteWidth(Row& row, const BlockColumns::Piece& piece) const;

    const Picture& picture;
    const Block& block;
    const Pen& pen;
    const BlockColumns columns;
};

Row BlockDrawer::Times() const {
    Row row(columns.Width(), U' ');
    for (const BlockColumns::Time& time : columns.Times()) {
        Write(row, time.column, picture.times[time.moment]);
    }
    return row;
}

Row BlockDrawer::Line(const Lane& lane) const {
    Row row;
    for (std::size_t i = 0; i < block.size(); ++i) {
        const Level level = lane.levels[block[i].interval];
        row.append(block[i].columns, StrokeOf(pen, level));
        const Level before = i > 0 ? lane.levels[block[i - 1].interval] : level;
        if (before != level) {
            row[columns.StartOf(i)] = CornerOf(pen, before, level);
        }
    }
    for (const BlockColumns::Piece& piece : columns.PiecesOf(lane)) {
        WriteWidth(row, piece);
    }
    return row;
}

/// In the middle of what this block shows of the pulse, if there is room with a blank on each side.
void BlockDrawer::WriteWidth(Row& row, const BlockColumns::Piece& piece) const {
    const std::string& width = piece.pulse->width;
    const std::size_t begin = piece.begin + (piece.begin > 0 ? 1 : 0); // behind the corner
    const std::size_t room = piece.end - begin;
    const std::size_t needed = ColumnsOf(width) + 2;
    if (room < needed) {
        return;
    }
    Row text = U" ";
    for (const char c : width) {
        // The one character beyond ASCII is the two bytes of "µ".
        if (c == '\xC2') {
            text.push_back(pen.micro);
        } else if (c != '\xB5') {
            text.push_back(static_cast<char32_t>(c));
        }
    }
    text.push_back(U' ');
    row.replace(begin + (room - needed) / 2, needed, text);
}

void AppendRow(std::string& text, std::string name, std::size_t nameColumns, const Row& row) {
    name.resize(nameColumns, ' ');
    text += name;
    text += kGap;
    const std::size_t last = row.find_last_not_of(U' ');
    for (const char32_t c : row.substr(0, last + 1)) {
        AppendUtf8(text, c);
    }
    text += '\n';
}

std::string DrawBlocks(const Picture& picture, const TextStyle& style) {
    std::size_t longest = kUnit.size();
    for (const Lane& lane : picture.lanes) {
        longest = std::max(longest, lane.name.size());
    }
    const std::size_t nameColumns = std::min(longest, style.columns / kNameShare);
    const std::size_t columns = style.columns - nameColumns - kGap.size();
    const Pen& pen = style.ascii ? kAsciiPen : kLinePen;
    std::string text;
    for (const Block& block : LayOut(picture, columns)) {
        const BlockDrawer drawer(picture, block, pen);
        text += text.empty() ? "" : "\n";
        AppendRow(text, std::string(kUnit), nameColumns, drawer.Times());
        for (const Lane& lane : picture.lanes) {
            AppendRow(text, CutTo(nameColumns, lane.name), nameColumns, drawer.Line(lane));
        }
    }
    return text;
}

} // namespace

std::string DrawText(const Picture& picture, const TextStyle& style) {
    std::string text;
    if (picture.lanes.empty()) {
        text = "Nothing changes from " + picture.times.front() + " to " + picture.times.back() +
               " ms.\n";
    } else {
        text = DrawBlocks(picture, style);
    }
    if (const std::string steady = SteadyText(picture); !steady.empty()) {
        text += picture.lanes.empty() ? "" : "\n";
        text += "Unchanged: ";
        text += steady;
        text += '\n';
    }
    return text;
}

} // namespace rig::wave
