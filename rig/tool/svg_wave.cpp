#include "svg_wave.h"

#include <algorithm>
#include <string_view>

#include "block_columns.h"
#include "wave_layout.h"
#include "wave_rounding.h"

namespace rig::wave {

namespace {

constexpr std::size_t kColumns = 100;
constexpr std::size_t kMostNameColumns = 20;

// Pixels. A character of the lettering is 7.2 wide.
constexpr std::size_t kColumn = 8;
constexpr std::size_t kMargin = 16;
constexpr std::size_t kAxis = 24; ///< the row of the times, above the axis
constexpr std::size_t kRow = 36;
constexpr std::size_t kHighInRow = 9;
constexpr std::size_t kLowInRow = 29;
constexpr std::size_t kMiddleInRow = (kHighInRow + kLowInRow) / 2;
constexpr std::size_t kNoteGap = 4;
constexpr std::size_t kTextLine = 20;
constexpr std::size_t kBaseline = 4; ///< of letters, below the middle of their line

constexpr std::string_view kStyle = R"(<style>
text{font:12px ui-monospace,SFMono-Regular,Menlo,Consolas,"Liberation Mono",monospace;fill:#1f2328}
.paper{fill:#fff;stroke:#d1d9e0}
.time,.note{fill:#59636e}
.axis,.cut{stroke:#8c959f;fill:none}
.guide{stroke:#d1d9e0;stroke-dasharray:2 3}
.line,.floating{fill:none;stroke:#0969da;stroke-width:2;stroke-linejoin:round}
.floating{stroke-dasharray:4 3}
.high{fill:#0969da;fill-opacity:.12}
.unknown{fill:#8c959f;fill-opacity:.4}
.cut{fill:#fff}
.width{text-anchor:middle;stroke:#fff;stroke-width:4;stroke-linejoin:round;paint-order:stroke}
@media (prefers-color-scheme:dark){
text{fill:#f0f6fc}
.paper{fill:#0d1117;stroke:#3d444d}
.time,.note{fill:#9198a1}
.axis,.cut{stroke:#656c76}
.guide{stroke:#3d444d}
.line,.floating{stroke:#4493f8}
.high{fill:#4493f8;fill-opacity:.2}
.cut{fill:#0d1117}
.width{stroke:#0d1117}
}
</style>
)";

std::string Escaped(std::string_view text) {
    std::string escaped;
    for (const char c : text) {
        switch (c) {
        case '&':
            escaped += "&amp;";
            break;
        case '<':
            escaped += "&lt;";
            break;
        case '>':
            escaped += "&gt;";
            break;
        case '"':
            escaped += "&quot;";
            break;
        default:
            escaped += c;
        }
    }
    return escaped;
}

std::string NameOf(Level level) {
    switch (level) {
    case Level::low:
        return "low";
    case Level::high:
        return "high";
    case Level::floating:
        return "floating";
    case Level::unknown:
        break;
    }
    return "unknown";
}

std::string NothingChanges(const Picture& picture) {
    const std::string& begin = picture.times.front();
    const std::string& end = picture.times.back();
    return "Nothing changes " + (end.empty() ? "at " + begin : "from " + begin + " to " + end) +
           " ms.";
}

// ---- In words ----------------------------------------------------------------------------------

/// "trigger: low, high at 63.4, low at 75.7."
std::string InWords(const Picture& picture, const Lane& lane) {
    std::string text = lane.name + ": " + NameOf(lane.levels.front());
    std::size_t timed = 0; // the last moment with a time
    for (std::size_t i = 1; i < lane.levels.size(); ++i) {
        timed = picture.times[i].empty() ? timed : i;
        if (lane.levels[i] != lane.levels[i - 1]) {
            text += ", " + NameOf(lane.levels[i]) + " at " + picture.times[timed];
        }
    }
    return text + '.';
}

std::string InWords(const Picture& picture) {
    std::string text = picture.lanes.empty() ? NothingChanges(picture) : "Times in ms.";
    for (const Lane& lane : picture.lanes) {
        text += ' ' + InWords(picture, lane);
    }
    if (const std::string steady = SteadyText(picture); !steady.empty()) {
        text += " Unchanged: " + steady + '.';
    }
    return text;
}

std::string TitleOf(const Picture& picture) {
    std::string title = "Waveform";
    for (const Lane& lane : picture.lanes) {
        title += (&lane == picture.lanes.data() ? " of " : ", ") + lane.name;
    }
    return title;
}

/// The lines that do not change, as many to a line of text as it has room for.
std::vector<std::string> Notes(const Picture& picture, std::size_t columns) {
    std::vector<std::string> notes;
    if (picture.lanes.empty()) {
        notes.push_back(NothingChanges(picture));
    }
    std::string note = "Unchanged:";
    for (const SteadyLine& line : picture.steady) {
        std::string words =
            ' ' + CutTo(kMostNameColumns, line.name) + ' ' + static_cast<char>(line.level);
        words += &line == &picture.steady.back() ? "" : ",";
        if (note.size() + words.size() > columns) {
            notes.push_back(std::move(note));
            note.clear();
        }
        note += words;
    }
    if (!picture.steady.empty()) {
        notes.push_back(std::move(note));
    }
    return notes;
}

// ---- Drawn -------------------------------------------------------------------------------------

std::string Number(std::size_t number) {
    return std::to_string(number);
}

std::string Text(std::string_view style, std::size_t x, std::size_t middle, std::string_view text) {
    return "<text class=\"" + std::string(style) + "\" x=\"" + Number(x) + "\" y=\"" +
           Number(middle + kBaseline) + "\">" + Escaped(text) + "</text>\n";
}

std::string Rectangle(std::string_view style, std::size_t x, std::size_t y, std::size_t width,
                      std::size_t height) {
    return "<rect class=\"" + std::string(style) + "\" x=\"" + Number(x) + "\" y=\"" + Number(y) +
           "\" width=\"" + Number(width) + "\" height=\"" + Number(height) + "\"/>\n";
}

std::string Path(std::string_view style, const std::string& path) {
    return path.empty() ? "" : "<path class=\"" + std::string(style) + "\" d=\"" + path + "\"/>\n";
}

std::string Point(std::size_t x, std::size_t y) {
    return 'M' + Number(x) + ' ' + Number(y);
}

/// One block of the picture, with its upper left corner at the margin and at `top`.
class SvgBlock {
  public:
    SvgBlock(const Picture& drawn, const Block& drawnBlock, std::size_t nameColumns,
             std::size_t blockTop)
        : picture(drawn), block(drawnBlock), columns(drawn, drawnBlock),
          left(kMargin + (nameColumns + 2) * kColumn), top(blockTop) {}

    std::string Draw() const;
    std::size_t Right() const { return XOf(columns.Width()); }
    std::size_t Bottom() const { return TopOf(picture.lanes.size()); }

  private:
    std::size_t XOf(std::size_t column) const { return left + column * kColumn; }
    std::size_t TopOf(std::size_t lane) const { return top + kAxis + lane * kRow; }
    Level LevelIn(const Lane& lane, std::size_t span) const {
        return lane.levels[block[span].interval];
    }

    std::string Times() const;
    std::string Line(const Lane& lane, std::size_t y) const;
    std::string Cuts() const;
    std::string Widths(const Lane& lane, std::size_t y) const;

    const Picture& picture;
    const Block& block;
    const BlockColumns columns;
    std::size_t left; ///< of the axis
    std::size_t top;
};

/// What lies above hides what lies below it.
std::string SvgBlock::Draw() const {
    std::string svg = Times();
    for (std::size_t i = 0; i < picture.lanes.size(); ++i) {
        svg += Line(picture.lanes[i], TopOf(i));
    }
    svg += Cuts();
    for (std::size_t i = 0; i < picture.lanes.size(); ++i) {
        svg += Widths(picture.lanes[i], TopOf(i));
    }
    return svg;
}

std::string SvgBlock::Times() const {
    const std::size_t axis = TopOf(0);
    std::string ticks = Point(left, axis) + 'H' + Number(Right());
    std::string guides;
    std::string texts = Text("time", kMargin, top + kAxis / 2, "ms");
    for (const BlockColumns::Time& time : columns.Times()) {
        const bool isEnd = time.moment == picture.Intervals();
        const std::size_t x = isEnd ? Right() : XOf(time.column);
        ticks += Point(x, axis - 4) + "V" + Number(axis);
        guides += Point(x, axis) + "V" + Number(Bottom());
        if (!picture.times[time.moment].empty()) {
            texts += Text("time", XOf(time.column), top + kAxis / 2, picture.times[time.moment]);
        }
    }
    return texts + Path("guide", guides) + Path("axis", ticks);
}

/// The name of a line and its levels. Low and high are one stroke with its corners; what is neither
/// interrupts it.
std::string SvgBlock::Line(const Lane& lane, std::size_t y) const {
    std::string svg = Text("name", kMargin, y + kMiddleInRow, CutTo(kMostNameColumns, lane.name));
    std::string line;
    std::string floating;
    bool isDrawing = false;
    for (std::size_t i = 0; i < block.size();) {
        const Level level = LevelIn(lane, i);
        const std::size_t x = XOf(columns.StartOf(i));
        while (i < block.size() && LevelIn(lane, i) == level) {
            ++i;
        }
        const std::size_t end = i < block.size() ? XOf(columns.StartOf(i)) : Right();
        const std::size_t height = kLowInRow - kHighInRow;
        if (level == Level::unknown) {
            svg += Rectangle("unknown", x, y + kHighInRow, end - x, height);
        } else if (level == Level::floating) {
            floating += Point(x, y + kMiddleInRow) + 'H' + Number(end);
        } else {
            const std::size_t at = y + (level == Level::high ? kHighInRow : kLowInRow);
            line += isDrawing ? 'V' + Number(at) : Point(x, at);
            line += 'H' + Number(end);
            if (level == Level::high) {
                svg += Rectangle("high", x, y + kHighInRow, end - x, height);
            }
        }
        isDrawing = level == Level::low || level == Level::high;
    }
    return svg + Path("floating", floating) + Path("line", line);
}

/// A tear from top to bottom near the right end of each interval that is cut, where no time stands.
std::string SvgBlock::Cuts() const {
    constexpr std::size_t kTooth = 8;
    constexpr std::size_t kFromEnd = 18;
    std::string svg;
    for (std::size_t i = 0; i < block.size(); ++i) {
        if (!block[i].isCut) {
            continue;
        }
        const std::size_t x = XOf(columns.StartOf(i) + block[i].columns) - kFromEnd;
        std::string tear = Point(x, TopOf(0) - kTooth / 2);
        const std::size_t teeth = (Bottom() - TopOf(0) + kTooth / 2) / kTooth;
        for (std::size_t tooth = 0; tooth < teeth; ++tooth) {
            tear += "l3 4l-3 4";
        }
        tear += "h5";
        for (std::size_t tooth = 0; tooth < teeth; ++tooth) {
            tear += "l3-4l-3-4";
        }
        tear += 'z';
        svg += Path("cut", tear);
    }
    return svg;
}

/// The widths of pulses, each in the middle of what is here of it, if there is room.
std::string SvgBlock::Widths(const Lane& lane, std::size_t y) const {
    std::string svg;
    for (const BlockColumns::Piece& piece : columns.PiecesOf(lane)) {
        if (piece.end - piece.begin > ColumnsOf(piece.pulse->width)) {
            const std::size_t x = (XOf(piece.begin) + XOf(piece.end)) / 2;
            svg += Text("width", x, y + kMiddleInRow, piece.pulse->width);
        }
    }
    return svg;
}

struct Drawing {
    std::string svg;
    std::size_t right = kMargin + kColumns * kColumn;
    std::size_t bottom = kMargin;
};

Drawing DrawBlocks(const Picture& picture) {
    std::size_t nameColumns = 0;
    for (const Lane& lane : picture.lanes) {
        nameColumns = std::max(nameColumns, std::min(lane.name.size(), kMostNameColumns));
    }
    Drawing drawing;
    for (const Block& block : LayOut(picture, kColumns, Form::drawing)) {
        const bool isFirst = drawing.svg.empty();
        const SvgBlock drawer(picture, block, nameColumns,
                              isFirst ? kMargin / 2 : drawing.bottom + kMargin);
        drawing.svg += drawer.Draw();
        drawing.right = std::max(drawing.right, drawer.Right());
        drawing.bottom = drawer.Bottom();
    }
    return drawing;
}

} // namespace

std::string DrawSvg(const Picture& exact) {
    const Picture picture = Rounded(exact);
    Drawing drawing = picture.lanes.empty() ? Drawing{} : DrawBlocks(picture);
    drawing.bottom += kNoteGap;
    for (const std::string& note : Notes(picture, (drawing.right - kMargin) / kColumn)) {
        drawing.svg += Text("note", kMargin, drawing.bottom + kTextLine / 2, note);
        drawing.bottom += kTextLine;
    }
    const std::size_t width = drawing.right + kMargin;
    const std::size_t height = drawing.bottom + kMargin / 2;
    const std::string size = Number(width) + ' ' + Number(height);
    return R"(<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 )" + size + R"(" width=")" +
           Number(width) + R"(" height=")" + Number(height) + R"(" role="img">)" + "\n<title>" +
           Escaped(TitleOf(picture)) + "</title>\n<desc>" + Escaped(InWords(picture)) +
           "</desc>\n" + std::string(kStyle) + Rectangle("paper", 0, 0, width, height) +
           drawing.svg + "</svg>\n";
}

} // namespace rig::wave
