#include "difference.h"

#include <algorithm>
#include <cstdint>

namespace transcript {

namespace {

constexpr std::size_t kLinesAround = 3;
constexpr std::size_t kLongest = 120; ///< most lines printed for one difference

/// Surplus lines beyond this number are cut before the comparison.
constexpr std::size_t kMostTooMany = 1000;

struct Row {
    char mark; ///< ' ', '-' or '+'
    std::string place;
    const std::string* text;
};

/// Both texts aligned along their longest common subsequence of lines.
std::vector<Row> Aligned(const std::vector<ExpectedLine>& expected,
                         const std::vector<std::string>& happened) {
    const std::size_t width = happened.size() + 1;
    // Lengths of the common subsequences from (e, h) to the ends.
    std::vector<std::uint32_t> common((expected.size() + 1) * width);
    for (std::size_t e = expected.size(); e-- > 0;) {
        for (std::size_t h = happened.size(); h-- > 0;) {
            common[e * width + h] =
                expected[e].text == happened[h]
                    ? common[(e + 1) * width + h + 1] + 1
                    : std::max(common[(e + 1) * width + h], common[e * width + h + 1]);
        }
    }
    std::vector<Row> rows;
    std::size_t e = 0;
    std::size_t h = 0;
    while (e < expected.size() || h < happened.size()) {
        const bool isBoth = e < expected.size() && h < happened.size();
        if (isBoth && expected[e].text == happened[h]) {
            rows.push_back({' ', expected[e].place, &expected[e].text});
            ++e;
            ++h;
        } else if (h == happened.size() ||
                   (isBoth && common[(e + 1) * width + h] >= common[e * width + h + 1])) {
            rows.push_back({'-', expected[e].place, &expected[e].text});
            ++e;
        } else {
            rows.push_back({'+', "", &happened[h++]});
        }
    }
    return rows;
}

} // namespace

std::string Difference(const std::vector<ExpectedLine>& expected,
                       std::vector<std::string> happened) {
    if (happened.size() > expected.size() + kMostTooMany) { // an endless loop in the library
        const std::size_t more = happened.size() - expected.size() - kMostTooMany;
        happened.resize(expected.size() + kMostTooMany);
        happened.push_back("    ... and " + std::to_string(more) + " lines more");
    }
    const std::vector<Row> rows = Aligned(expected, happened);
    std::vector<bool> isShown(rows.size());
    std::size_t widest = 0;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        if (rows[i].mark != ' ') {
            const std::size_t end = std::min(i + kLinesAround + 1, rows.size());
            std::fill(isShown.begin() + static_cast<long>(i - std::min(i, kLinesAround)),
                      isShown.begin() + static_cast<long>(end), true);
        }
        widest = std::max(widest, rows[i].place.size());
    }
    std::string text;
    std::size_t lines = 0;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        if (!isShown[i]) {
            continue;
        }
        if (++lines > kLongest) {
            return text + "  ... and more\n";
        }
        if (i > 0 && !isShown[i - 1]) {
            text += "  ...\n";
        }
        text += std::string("  ") + rows[i].mark + ' ' + rows[i].place +
                std::string(widest - rows[i].place.size() + 2, ' ') + *rows[i].text + '\n';
    }
    return text;
}

} // namespace transcript
