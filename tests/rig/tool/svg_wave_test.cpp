#include "svg_wave.h"

#include <algorithm>
#include <regex>
#include <string>
#include <string_view>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "recordings.h"

namespace {

using namespace rig::wave;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

std::string Draw(const std::string& vcd) {
    return DrawSvg(Take(vcd));
}

/// What the first group of a pattern finds.
std::vector<std::string> FindAll(const std::string& text, const std::string& pattern) {
    const std::regex regex(pattern);
    std::vector<std::string> found;
    for (std::sregex_iterator match(text.begin(), text.end(), regex), end; match != end; ++match) {
        found.push_back((*match)[1]);
    }
    return found;
}

std::vector<std::string> TextsOf(const std::string& svg, const std::string& style) {
    return FindAll(svg, "<text class=\"" + style + "\"[^>]*>([^<]*)<");
}

std::vector<std::string> PathsOf(const std::string& svg, const std::string& style) {
    return FindAll(svg, "<path class=\"" + style + "\" d=\"([^\"]*)\"");
}

std::vector<int> NumbersOf(const std::string& path) {
    std::vector<int> numbers;
    for (const std::string& number : FindAll(path, "([0-9]+)")) {
        numbers.push_back(std::stoi(number));
    }
    return numbers;
}

int Attribute(const std::string& svg, const std::string& name) {
    return std::stoi(FindAll(svg, ' ' + name + "=\"([0-9]+)\"").at(0));
}

/// So many pulses of 100 µs, 100 µs apart.
std::string Pulses(int count) {
    std::string values = "#0 0!";
    for (int i = 0; i < count; ++i) {
        values +=
            " #" + std::to_string(200 * i + 100) + " 1! #" + std::to_string(200 * i + 200) + " 0!";
    }
    return TwoLines(values + " #" + std::to_string(200 * count + 100));
}

TEST(SvgWave, NamesTheLinesThatChangeAndNotesTheOthers) {
    const std::string svg = Draw(OneCapture());
    EXPECT_THAT(TextsOf(svg, "name"), ElementsAre("trigger", "ready", "mep", "clear_mep"));
    EXPECT_THAT(TextsOf(svg, "note"), ElementsAre("Unchanged: dark 0, camera_power 1"));
}

TEST(SvgWave, WritesTimesAndWidths) {
    const std::string svg = Draw(OneCapture());
    EXPECT_THAT(TextsOf(svg, "time"), ElementsAre("ms", "0", "66.4", "76.5", "91.4", "150", "200"));
    EXPECT_THAT(TextsOf(svg, "width"), ElementsAre("10.1 ms", "25 ms", "58.6 ms", "4 µs"));
}

TEST(SvgWave, APulseIsOneStrokeWithFourCorners) {
    const std::string svg = Draw(OneCapture());
    const std::vector<std::string> lines = PathsOf(svg, "line");
    ASSERT_EQ(lines.size(), 4U);
    EXPECT_TRUE(std::regex_match(lines[0], std::regex("M\\d+ \\d+H\\d+V\\d+H\\d+V\\d+H\\d+")));
    const std::vector<int> trigger = NumbersOf(lines[0]); // x y, x, y, x, y, x
    const std::vector<int> ready = NumbersOf(lines[1]);
    EXPECT_GT(trigger[1], trigger[3]) << "low lies below high";
    EXPECT_EQ(trigger[1], trigger[5]);
    EXPECT_LT(ready[1], ready[3]) << "at rest it is high";
    EXPECT_EQ(trigger[2], ready[2]) << "the trigger rises where ready falls";
    EXPECT_LT(trigger[4], ready[4]);
    EXPECT_EQ(ready[4], NumbersOf(lines[2])[2]) << "the flag rises where ready does";
    EXPECT_GT(std::min(ready[1], ready[3]), trigger[1]) << "each has a row of its own";
    EXPECT_EQ(trigger[6], Attribute(svg, "width") - 16);
}

TEST(SvgWave, DrawsEqualTimesAlikeAndCutsWhatIsFarLonger) {
    const std::string svg = Draw(TwoLines("#0 0! 0\" #1000000 1! #1020000 0! #1040000 1!"
                                          " #1060000 0! #1080000"));
    const std::vector<int> line = NumbersOf(PathsOf(svg, "line").at(0));
    const int pulse = line[4] - line[2];
    EXPECT_NEAR(line[6] - line[4], pulse, 8);
    EXPECT_NEAR(line[8] - line[6], pulse, 8);
    EXPECT_LT(line[2] - line[0], 6 * pulse) << "50 times as long";
    const std::vector<std::string> cuts = PathsOf(svg, "cut");
    ASSERT_EQ(cuts.size(), 1U);
    EXPECT_GT(NumbersOf(cuts[0])[0], line[0]);
    EXPECT_LT(NumbersOf(cuts[0])[0], line[2]);
    EXPECT_THAT(PathsOf(Draw(Pulses(5)), "cut"), IsEmpty());
}

TEST(SvgWave, DrawsAllLevels) {
    const std::string svg =
        Draw(TwoLines("#0 x! 0\" #1 1! z\" #2 x! 1\" #3 0! z\" #4 z! 0\" #5 0! x\" #6 z! 0\" #7"));
    EXPECT_EQ(FindAll(svg, "(<rect class=\"unknown\")").size(), 3U);
    const std::vector<std::string> lines = PathsOf(svg, "line");
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(std::count(lines[0].begin(), lines[0].end(), 'M'), 3) << "1, 0 and 0 stand alone";
    EXPECT_EQ(std::count(lines[1].begin(), lines[1].end(), 'M'), 4);
    const std::vector<std::string> floating = PathsOf(svg, "floating");
    ASSERT_EQ(floating.size(), 2U);
    EXPECT_EQ(std::count(floating[0].begin(), floating[0].end(), 'M'), 2);
}

TEST(SvgWave, TellsItsContentInWords) {
    const std::string svg = Draw(OneCapture());
    EXPECT_THAT(svg, HasSubstr("<title>Waveform of trigger, ready, mep, clear_mep</title>"));
    EXPECT_THAT(svg, HasSubstr("<desc>Times in ms. trigger: low, high at 66.4, low at 76.5. ready: "
                               "high, low at 66.4, high at 91.4. mep: low, high at 91.4, low at "
                               "150. clear_mep: low, high at 150, low at 150. Unchanged: dark 0, "
                               "camera_power 1.</desc>"));
}

TEST(SvgWave, EscapesNames) {
    const std::string svg =
        Draw("$timescale 1 us $end $scope module </svg> $end $var wire 1 ! a<b>&\"c' $end "
             "$var wire 1 ? a<b>&\"c' $end $enddefinitions $end #0 0! 1? #5 1! #9");
    EXPECT_THAT(TextsOf(svg, "name"), ElementsAre("&lt;/svg&gt;.a&lt;b&gt;&amp;&quot;c'"));
    EXPECT_THAT(svg, HasSubstr("Waveform of &lt;/svg&gt;.a&lt;b&gt;&amp;&quot;c'</title>"));
    EXPECT_THAT(TextsOf(svg, "note"),
                ElementsAre("Unchanged: &lt;/svg&gt;.a&lt;b&gt;&amp;&quot;c' 1"));
}

TEST(SvgWave, CutsLongNames) {
    const std::string name(100, 'n');
    const std::string svg = Draw("$timescale 1 us $end $var wire 1 ! " + name +
                                 " $end $enddefinitions $end #0 0! #5 1! #9");
    EXPECT_THAT(TextsOf(svg, "name"), ElementsAre(".." + name.substr(0, 18)));
    EXPECT_LT(Attribute(svg, "width"), 1024);
}

TEST(SvgWave, ManySteadyLinesTakeSeveralRows) {
    std::string header = "$timescale 1 us $end";
    for (int i = 0; i < 40; ++i) {
        header += " $var wire 1 s" + std::to_string(i) + " steady" + std::to_string(i) + " $end";
    }
    const std::string svg = Draw(header + " $enddefinitions $end #0 1s7 #5");
    const std::vector<std::string> notes = TextsOf(svg, "note");
    EXPECT_EQ(notes.at(0), "Nothing changes from 0 to 0.005 ms.");
    ASSERT_GT(notes.size(), 3U);
    std::string all;
    for (const std::string& note : notes) {
        EXPECT_LE(static_cast<int>(8 * note.size()), Attribute(svg, "width") - 24) << note;
        all += note;
    }
    EXPECT_THAT(all, HasSubstr("steady6 x, steady7 1, steady8 x,"));
    EXPECT_THAT(all, testing::EndsWith("steady39 x"));
}

TEST(SvgWave, SaysThatNothingChanges) {
    const std::string svg = Draw(TwoLines("#0 1! #50000"));
    EXPECT_THAT(TextsOf(svg, "note"),
                ElementsAre("Nothing changes from 0 to 50 ms.", "Unchanged: a 1, b x"));
    EXPECT_THAT(svg, HasSubstr("<title>Waveform</title>\n<desc>Nothing changes from 0 to 50 ms. "
                               "Unchanged: a 1, b x.</desc>"));
}

TEST(SvgWave, ARecordingMayBeEmptyOrOneInstant) {
    EXPECT_THAT(TextsOf(Draw(TwoLines("")), "note"),
                ElementsAre("Nothing changes at 0 ms.", "Unchanged: a x, b x"));
    EXPECT_THAT(TextsOf(Draw(TwoLines("#5000 1! 0\"")), "note"),
                ElementsAre("Nothing changes at 5 ms.", "Unchanged: a 1, b 0"));
}

TEST(SvgWave, ShowsTheLevelAfterAChangeAtTheEnd) {
    const std::string svg = Draw(TwoLines("#0 0! 1\" #5000 1!"));
    EXPECT_THAT(TextsOf(svg, "time"), ElementsAre("ms", "0", "5"));
    const std::vector<int> line = NumbersOf(PathsOf(svg, "line").at(0));
    ASSERT_EQ(line.size(), 5U);
    EXPECT_GT(line[4], line[2]);
}

TEST(SvgWave, HundredsOfPulsesTakeSeveralBlocks) {
    const std::string svg = Draw(Pulses(300));
    EXPECT_LT(Attribute(svg, "width"), 1024);
    EXPECT_GT(TextsOf(svg, "name").size(), 20U) << "one a block";
    EXPECT_EQ(TextsOf(svg, "width").size(), 300U);
    EXPECT_EQ(TextsOf(svg, "time").size(), TextsOf(svg, "name").size() + 602);
    const int height = Attribute(svg, "height");
    int bottom = 0;
    for (const std::string& line : PathsOf(svg, "line")) {
        const int top = NumbersOf(line)[1];
        EXPECT_GT(top, bottom);
        EXPECT_LT(top, height);
        bottom = top;
    }
}

TEST(SvgWave, NeedsNothingButItself) {
    const std::string svg = Draw(OneCapture());
    EXPECT_THAT(svg,
                testing::StartsWith("<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 "));
    EXPECT_THAT(svg, testing::EndsWith("</svg>\n"));
    for (const char* outside : {"<script", "href", "url(", "@import", "@font-face"}) {
        EXPECT_THAT(svg, Not(HasSubstr(outside)));
    }
    EXPECT_THAT(svg, HasSubstr("prefers-color-scheme:dark"));
    EXPECT_EQ(svg, Draw(OneCapture()));
}

} // namespace
