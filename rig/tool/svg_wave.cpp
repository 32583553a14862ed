#include <algorithm>
#include <array>
#include <sstream>
#include <string_view>

#include "wave_layout.h"
#include "wave_picture.h"

namespace rig::wave {

namespace {

constexpr std::size_t kColumns = 100;
constexpr std::size_t kMostNameColumns = 20;

// Pixels. A character of the font is 7.2 wide.
constexpr std::size_t kColumn = 8;
constexpr std::size_t kMargin = 16;
constexpr std::size_t kAxis = 24;    ///< the row with the times, above the axis
constexpr std::size_t kMarkRow = 20; ///< the row below it with marks, if there are any
constexpr std::size_t kRow = 36;
constexpr std::size_t kHighInRow = 9;
constexpr std::size_t kLowInRow = 29;
constexpr std::size_t kMiddleInRow = (kHighInRow + kLowInRow) / 2;
constexpr std::size_t kNoteGap = 4;
constexpr std::size_t kTextLine = 20;
constexpr std::size_t kBaseline = 4; ///< from the middle of a line of text down to its baseline

constexpr std::string_view kStyle = R"(<style>
text{font:12px ui-monospace,SFMono-Regular,Menlo,Consolas,"Liberation Mono",monospace;fill:#1f2328}
.paper{fill:#fff;stroke:#d1d9e0}
.time,.note{fill:#59636e}
.axis,.cut{stroke:#8c959f;fill:none}
.guide{stroke:#d1d9e0;stroke-dasharray:2 3}
.line,.floating{fill:none;stroke:#0969da;stroke-width:2;stroke-linejoin:round}
.floating{stroke-dasharray:4 3}
.high{fill:#0969da;fill-opacity:.12}
.event{fill:#59636e}
.mark{stroke:#8c959f;fill:none}
.disturbance{fill:#cf222e;font-weight:600}
.hit{stroke:#cf222e;stroke-width:1.5;stroke-dasharray:6 3;fill:none}
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
.event{fill:#9198a1}
.mark{stroke:#656c76}
.disturbance{fill:#f85149}
.hit{stroke:#f85149}
.cut{fill:#0d1117}
.width{stroke:#0d1117}
}
</style>
)";

std::string Escaped(std::string_view text) {
    constexpr std::string_view kSigns = "&<>\"";
    constexpr std::array<const char*, 4> kEscapes = {"&amp;", "&lt;", "&gt;", "&quot;"};
    std::string escaped;
    for (const char c : text) {
        const std::size_t sign = kSigns.find(c);
        escaped += sign < kSigns.size() ? std::string(kEscapes[sign]) : std::string(1, c);
    }
    return escaped;
}

// ---- In words ----------------------------------------------------------------------------------

std::string NameOf(Level level) {
    constexpr std::array<const char*, 4> kNames = {"low", "high", "unknown", "floating"};
    return kNames[static_cast<std::size_t>(level)];
}

std::string TitleOf(const Picture& picture) {
    std::string title = "Waveform";
    for (const Lane& lane : picture.lanes) {
        title += (&lane == picture.lanes.data() ? " of " : ", ") + lane.name;
    }
    return title;
}

/// "Times in ms. trigger: low, high at 63.4, low at 75.7. Unchanged: dark 0."
std::string InWords(const Picture& picture) {
    std::string text = picture.lanes.empty() ? NothingChanges(picture) : "Times in ms.";
    for (const Lane& lane : picture.lanes) {
        text += ' ' + lane.name + ": " + NameOf(lane.stretches.front().level);
        for (std::size_t i = 1; i < lane.stretches.size(); ++i) {
            const Stretch& stretch = lane.stretches[i];
            text += ", " + NameOf(stretch.level) + " at " + picture.times[stretch.first];
        }
        text += '.';
    }
    for (const std::string& more : {MarksText(picture), SteadyText(picture, std::string::npos)}) {
        text += more.empty() ? "" : ' ' + more + '.';
    }
    return text;
}

/// Adds a list, broken into rows of at most `columns`.
void AddRows(std::string list, std::size_t columns, std::vector<std::string>& notes) {
    while (list.size() > columns) {
        const std::size_t comma = list.rfind(',', columns - 1);
        const std::size_t end = comma == list.npos ? columns : comma + 1;
        notes.push_back(list.substr(0, end));
        list.erase(0, end);
    }
    if (!list.empty()) {
        notes.push_back(list);
    }
}

/// The sentences below the lines, or instead of them.
std::vector<std::string> Notes(const Picture& picture, std::size_t columns) {
    std::vector<std::string> notes;
    if (picture.lanes.empty()) {
        notes.push_back(NothingChanges(picture));
        AddRows(MarksText(picture), columns, notes);
    }
    AddRows(SteadyText(picture, kMostNameColumns), columns, notes);
    return notes;
}

// ---- Drawn -------------------------------------------------------------------------------------

void Text(std::ostream& svg, std::string_view style, std::size_t x, std::size_t middle,
          std::string_view text) {
    svg << "<text class=\"" << style << "\" x=\"" << x << "\" y=\"" << middle + kBaseline << "\">"
        << Escaped(text) << "</text>\n";
}

void Rectangle(std::ostream& svg, std::string_view style, std::size_t x, std::size_t y,
               std::size_t width, std::size_t height) {
    svg << "<rect class=\"" << style << "\" x=\"" << x << "\" y=\"" << y << "\" width=\"" << width
        << "\" height=\"" << height << "\"/>\n";
}

void Path(std::ostream& svg, std::string_view style, const std::string& path) {
    if (!path.empty()) {
        svg << "<path class=\"" << style << "\" d=\"" << path << "\"/>\n";
    }
}

std::string To(char command, std::size_t coordinate) {
    return command + std::to_string(coordinate);
}

std::string Point(std::size_t x, std::size_t y) {
    return To('M', x) + To(' ', y);
}

/// Draws one block of the picture, with its axis from `left` on and its upper end at `top`.
struct SvgBlock {
    const Picture& picture;
    const Block& block;
    std::size_t left;
    std::size_t top;
    std::ostream& svg;

    std::size_t XOf(std::size_t column) const { return left + column * kColumn; }
    std::size_t Axis() const { return top + kAxis; }
    std::size_t TopOf(std::size_t lane) const {
        return Axis() + (block.marks.empty() ? 0 : kMarkRow) + lane * kRow;
    }
    std::size_t Right() const { return XOf(block.Width()); }
    std::size_t Bottom() const { return TopOf(picture.lanes.size()); }

    /// Draws from back to front.
    void Draw() const {
        DrawTimes();
        for (std::size_t i = 0; i < picture.lanes.size(); ++i) {
            DrawLine(picture.lanes[i], TopOf(i));
        }
        for (const std::size_t column : block.cuts) {
            DrawCut(XOf(column));
        }
        DrawMarks();
        for (std::size_t i = 0; i < picture.lanes.size(); ++i) {
            WriteWidths(picture.lanes[i], TopOf(i) + kMiddleInRow);
        }
    }

    void DrawTimes() const {
        const std::size_t axis = Axis();
        std::string ticks = Point(left, axis) + To('H', Right());
        std::string guides;
        Text(svg, "time", kMargin, top + kAxis / 2, "ms");
        for (const Block::Time& time : block.times) {
            ticks += Point(XOf(time.column), axis - 4) + To('V', axis);
            guides += Point(XOf(time.column), axis) + To('V', Bottom());
            if (!time.text.empty()) {
                Text(svg, "time", XOf(time.textBegin), top + kAxis / 2, time.text);
            }
        }
        Path(svg, "guide", guides);
        Path(svg, "axis", ticks);
    }

    /// Draws each mark beside its moment. Marks of disturbances cross all lines.
    void DrawMarks() const {
        std::string marks;
        std::string hits;
        for (const Block::Time& mark : block.marks) {
            const bool isHit = IsDisturbance(mark.text);
            const std::size_t x = XOf(mark.column);
            (isHit ? hits : marks) +=
                Point(x, Axis()) + To('V', isHit ? Bottom() : Axis() + kMarkRow);
            Text(svg, isHit ? "disturbance" : "event", x + kColumn / 2, Axis() + kMarkRow / 2,
                 mark.text);
        }
        Path(svg, "mark", marks);
        Path(svg, "hit", hits);
    }

    /// Draws the name of a line and its levels. Low and high are one connected stroke; a level that
    /// is neither interrupts it.
    void DrawLine(const Lane& lane, std::size_t y) const {
        Text(svg, "name", kMargin, y + kMiddleInRow, CutTo(kMostNameColumns, lane.name));
        std::string line;
        std::string floating;
        bool isDrawing = false;
        for (const Stretch& stretch : lane.stretches) {
            if (!block.Shows(stretch)) {
                continue;
            }
            const bool isHigh = stretch.level == Level::high;
            const bool wasDrawing = isDrawing;
            const std::size_t x = XOf(block.ColumnOf(stretch.first));
            const std::size_t end = XOf(block.ColumnOf(stretch.last));
            isDrawing = isHigh || stretch.level == Level::low;
            if (isDrawing) {
                const std::size_t at = y + (isHigh ? kHighInRow : kLowInRow);
                line += (wasDrawing ? To('V', at) : Point(x, at)) + To('H', end);
            } else if (stretch.level == Level::floating) {
                floating += Point(x, y + kMiddleInRow) + To('H', end);
            }
            if (isHigh || stretch.level == Level::unknown) {
                Rectangle(svg, NameOf(stretch.level), x, y + kHighInRow, end - x,
                          kLowInRow - kHighInRow);
            }
        }
        Path(svg, "floating", floating);
        Path(svg, "line", line);
    }

    /// Draws a tear from top to bottom near the end of an interval, where there is no time text.
    void DrawCut(std::size_t end) const {
        constexpr std::size_t kTooth = 8;
        std::string down;
        std::string up;
        for (std::size_t y = Axis() - kTooth / 2; y + kTooth <= Bottom(); y += kTooth) {
            down += "l3 4l-3 4";
            up += "l3-4l-3-4";
        }
        Path(svg, "cut", Point(end - 18, Axis() - kTooth / 2) + down + "h5" + up + 'z');
    }

    /// Writes the width of each pulse in the middle of its part in this block, if there is room.
    void WriteWidths(const Lane& lane, std::size_t y) const {
        for (const Stretch& stretch : lane.stretches) {
            const std::size_t begin = block.ColumnOf(stretch.first);
            const std::size_t end = block.ColumnOf(stretch.last);
            if (!stretch.width.empty() && end - begin > ColumnsOf(stretch.width)) {
                Text(svg, "width", (XOf(begin) + XOf(end)) / 2, y, stretch.width);
            }
        }
    }
};

} // namespace

std::string DrawSvg(const Picture& picture) {
    std::size_t nameColumns = 0;
    for (const Lane& lane : picture.lanes) {
        nameColumns = std::max(nameColumns, std::min(lane.name.size(), kMostNameColumns));
    }
    std::size_t right = kMargin + kColumns * kColumn;
    std::size_t bottom = kMargin;
    std::ostringstream drawn;
    const std::vector<Block> blocks =
        picture.lanes.empty() ? std::vector<Block>{} : LayOut(picture, kColumns);
    for (const Block& block : blocks) {
        const std::size_t top = &block == blocks.data() ? kMargin / 2 : bottom + kMargin;
        const SvgBlock drawer{picture, block, kMargin + (nameColumns + 2) * kColumn, top, drawn};
        drawer.Draw();
        right = std::max(right, drawer.Right());
        bottom = drawer.Bottom();
    }
    bottom += kNoteGap;
    for (const std::string& note : Notes(picture, (right - kMargin) / kColumn)) {
        Text(drawn, "note", kMargin, bottom + kTextLine / 2, note);
        bottom += kTextLine;
    }
    const std::size_t width = right + kMargin;
    const std::size_t height = bottom + kMargin / 2;
    std::ostringstream svg;
    svg << R"(<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 )" << width << ' ' << height
        << R"(" width=")" << width << R"(" height=")" << height << R"(" role="img">)"
        << "\n<title>" << Escaped(TitleOf(picture)) << "</title>\n<desc>"
        << Escaped(InWords(picture)) << "</desc>\n"
        << kStyle;
    Rectangle(svg, "paper", 0, 0, width, height);
    svg << drawn.str() << "</svg>\n";
    return svg.str();
}

} // namespace rig::wave
