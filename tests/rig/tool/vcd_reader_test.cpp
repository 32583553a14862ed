#include "vcd_reader.h"

#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "recordings.h"

namespace {

using namespace rig::wave;
using testing::ElementsAre;
using testing::IsEmpty;

/// "66400:1 78600:0"
std::string ChangesOf(const Signal& signal) {
    std::ostringstream text;
    for (const Change& change : signal.changes) {
        const bool isFirst = &change == &signal.changes.front();
        text << (isFirst ? "" : " ") << change.time << ':' << static_cast<char>(change.level);
    }
    return text.str();
}

std::string ErrorOf(const std::string& vcd) {
    try {
        Read(vcd);
    } catch (const VcdError& error) {
        return error.what();
    }
    return "none";
}

std::string Timed(const std::string& timescale) {
    return "$timescale " + timescale + " $end $enddefinitions $end #1";
}

TEST(VcdReader, ReadsWhatTheRigWrites) {
    const Recording recording = Read(OneCapture());
    EXPECT_EQ(recording.timescale.exponent, -3);
    EXPECT_EQ(recording.begin, 0U);
    EXPECT_EQ(recording.end, 200000U);
    EXPECT_THAT(recording.notes, IsEmpty());
    ASSERT_EQ(recording.signals.size(), 6U);
    EXPECT_EQ(recording.signals[0].name, "trigger");
    EXPECT_EQ(recording.signals[0].path, "camera.trigger");
    EXPECT_EQ(ChangesOf(recording.signals[0]), "0:0 66400:1 76460:0");
    EXPECT_EQ(ChangesOf(recording.signals[5]), "0:1");
}

TEST(VcdReader, KnowsEveryTimescale) {
    const std::vector<std::pair<const char*, int>> timescales = {
        {"1s", 3},   {"10 ms", 1}, {"100us", -1}, {"1\nns", -6},
        {"1ps", -9}, {"1fs", -12}, {"100 s", 5},  {"10fs", -11}};
    for (const auto& [text, exponent] : timescales) {
        EXPECT_EQ(Read(Timed(text)).timescale.exponent, exponent) << text;
    }
    for (const char* text : {"", "us", "2 us", "1000 us", "1 min", "1 us us", "10"}) {
        EXPECT_EQ(ErrorOf(Timed(text)).find("line 1: \""), 0U) << text;
    }
}

TEST(VcdReader, KeepsRealChangesOnly) {
    const Recording recording = Read(TwoLines("#0 0! x\" #5 0! #6 1! 0! #7 1! 0! 1! #9"));
    EXPECT_EQ(ChangesOf(recording.signals[0]), "0:0 7:1");
    EXPECT_EQ(ChangesOf(recording.signals[1]), "");
}

TEST(VcdReader, KnowsFourLevels) {
    const Recording recording = Read(TwoLines("#1 0! #2 1! #3 x! #4 Z! #5 X! #6 z!"));
    EXPECT_EQ(ChangesOf(recording.signals[0]), "1:0 2:1 3:x 4:z 5:x 6:z");
}

TEST(VcdReader, BeginsWithTheFirstTimeOrTheFirstValue) {
    EXPECT_EQ(Read(TwoLines("#5 0! #9")).begin, 5U);
    const Recording early = Read(TwoLines("$dumpvars 1! $end #5 0! #9"));
    EXPECT_EQ(early.begin, 0U);
    EXPECT_EQ(ChangesOf(early.signals[0]), "0:1 5:0");
}

TEST(VcdReader, SkipsWhatItNeedNotKnow) {
    const Recording recording =
        Read("$date today $end $comment $var $end $creator me $end " +
             TwoLines("#0 $comment #7 1! $end $dumpoff x! $end #2 $dumpon 1! $end\r\n\t#3"));
    EXPECT_EQ(ChangesOf(recording.signals[0]), "2:1");
    EXPECT_EQ(recording.end, 3U);
}

TEST(VcdReader, LeavesOutWhatIsNotASingleWire) {
    const Recording recording = Read("$timescale 1 us $end $scope module top $end\n"
                                     "$var reg 8 d data [7:0] $end\n"
                                     "$var real 64 r volts $end $var event 1 e tick $end\n"
                                     "$var wire 1 w data [3] $end\n"
                                     "$enddefinitions $end\n"
                                     "#0 b01xz d r1.5 r 1e bx w #4 b1 w sIDLE d #8 B0 w");
    ASSERT_EQ(recording.signals.size(), 1U);
    EXPECT_EQ(recording.signals[0].path, "top.data[3]");
    EXPECT_EQ(ChangesOf(recording.signals[0]), "4:1 8:0");
    EXPECT_THAT(
        recording.notes,
        ElementsAre(
            "top.data[7:0] is left out: it is 8 bits wide, and only single wires are drawn.",
            "top.volts is left out: it is 64 bits wide, and only single wires are drawn.",
            "top.tick is left out: it is of the kind event, and only wires are drawn."));
}

TEST(VcdReader, TellsNamesakesApartByTheirScopes) {
    const Recording recording = Read("$timescale 1 us $end\n"
                                     "$scope module one $end $var wire 1 ! a $end $upscope $end\n"
                                     "$scope module two $end $var wire 1 ! a $end\n"
                                     "$var wire 1 \" b $end $upscope $end\n"
                                     "$enddefinitions $end #0 1! #2 0!");
    ASSERT_EQ(recording.signals.size(), 3U);
    EXPECT_EQ(recording.signals[0].name, "one.a");
    EXPECT_EQ(recording.signals[1].name, "two.a");
    EXPECT_EQ(recording.signals[2].name, "b");
    EXPECT_EQ(ChangesOf(recording.signals[0]), "0:1 2:0");
    EXPECT_EQ(ChangesOf(recording.signals[1]), "0:1 2:0") << "one wire, seen in two scopes";
}

TEST(VcdReader, NamesCannotUpsetAConsole) {
    const Recording recording =
        Read("$timescale 1 us $end $scope module \xC3\xA9 $end $var wire 1 ! a\x1B[31m $end "
             "$enddefinitions $end");
    EXPECT_EQ(recording.signals[0].path, "??.a?[31m");
}

TEST(VcdReader, TellsMistakesOfTheHeaderWithTheirLines) {
    EXPECT_EQ(ErrorOf(""), "line 1: the file ends before $enddefinitions.");
    EXPECT_EQ(ErrorOf("$date\n\ntoday\n"), "line 1: \"$date\" is not closed by $end.");
    EXPECT_EQ(ErrorOf("\n\nhello"), "line 3: \"hello\" is not a command of a VCD header.");
    EXPECT_EQ(ErrorOf("$enddefinitions $end"), "line 1: the header has no $timescale.");
    EXPECT_EQ(ErrorOf("\n$upscope $end"), "line 2: $upscope without a $scope before it.");
    EXPECT_EQ(ErrorOf("$scope module $end"), "line 1: $scope takes a kind and a name.");
    EXPECT_EQ(ErrorOf("$var wire 1 ! $end"),
              "line 1: $var takes a kind, a width, a short name and a name.");
    EXPECT_EQ(ErrorOf("$var wire -1 ! a $end"), "line 1: \"-1\" is not the width of a variable.");
}

TEST(VcdReader, TellsMistakesOfTheValuesWithTheirLines) {
    EXPECT_EQ(ErrorOf(TwoLines("#5\n#4")), "line 6: the time goes back from 5 to 4.");
    EXPECT_EQ(ErrorOf(TwoLines("#5x")), "line 5: \"#5x\" is not a time.");
    EXPECT_EQ(ErrorOf(TwoLines("#")), "line 5: \"#\" is not a time.");
    EXPECT_EQ(ErrorOf(TwoLines("#18446744073709551616")),
              "line 5: \"#18446744073709551616\" is not a time.");
    EXPECT_EQ(ErrorOf(TwoLines("#18446744073709551615")), "none");
    EXPECT_EQ(ErrorOf(TwoLines("\n1%")),
              "line 6: the header has no variable with the short name \"%\".");
    EXPECT_EQ(ErrorOf(TwoLines("1")),
              "line 5: the header has no variable with the short name \"\".");
    EXPECT_EQ(ErrorOf(TwoLines("2!")),
              "line 5: \"2!\" is neither a command nor a time nor a value.");
    EXPECT_EQ(ErrorOf(TwoLines("b01 !")), "line 5: \"b01\" is not a value of the single wire a.");
    EXPECT_EQ(ErrorOf(TwoLines("b1")), "line 5: the file ends within the value \"b1\".");
    EXPECT_EQ(ErrorOf(TwoLines("$end")), "line 5: $end without a command before it.");
    EXPECT_EQ(ErrorOf(TwoLines("$dumpvars $dumpall")), "line 5: a dump begins within a dump.");
    EXPECT_EQ(ErrorOf(TwoLines("$comment\nno end")), "line 5: \"$comment\" is not closed by $end.");
}

TEST(VcdReader, RefusesWordsWithoutAnEnd) {
    EXPECT_EQ(ErrorOf(TwoLines(std::string(2'000'000, 'b'))),
              "line 5: a word of more than a million characters.");
    EXPECT_EQ(ErrorOf(std::string(100, 'h')),
              "line 1: \"" + std::string(40, 'h') + "...\" is not a command of a VCD header.");
}

/// Whatever a file is cut to, it is read or refused.
TEST(VcdReader, EndsWellWhereverTheFileEnds) {
    const std::string whole = OneCapture();
    for (std::size_t size = 0; size < whole.size(); ++size) {
        try {
            EXPECT_LE(Read(whole.substr(0, size)).end, 200000U);
        } catch (const VcdError& error) {
            EXPECT_EQ(std::string(error.what()).find("line "), 0U);
        }
    }
}

TEST(LevelAt, IsThatOfTheLastChange) {
    const Recording recording = Read(TwoLines("#5 0! #8 1! #9"));
    EXPECT_EQ(LevelAt(recording.signals[0], 4), Level::unknown);
    EXPECT_EQ(LevelAt(recording.signals[0], 5), Level::low);
    EXPECT_EQ(LevelAt(recording.signals[0], 7), Level::low);
    EXPECT_EQ(LevelAt(recording.signals[0], 100), Level::high);
}

} // namespace
