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

/// "66.4:1 78.6:0"
std::string ChangesOf(const Signal& signal) {
    std::ostringstream text;
    for (const Change& change : signal.changes) {
        text << (text.tellp() > 0 ? " " : "") << change.time << ':'
             << kLevelDigits[static_cast<std::size_t>(change.level)];
    }
    return text.str();
}

/// The changes of line a.
std::string ChangesIn(std::string_view values) {
    return ChangesOf(ReadVcd(TwoLines(values)).signals.at(0));
}

std::string ErrorOf(std::string_view vcd) {
    try {
        ReadVcd(vcd);
    } catch (const VcdError& error) {
        return error.what();
    }
    return "none";
}

TEST(VcdReader, ReadsWhatTheRigWrites) {
    const Recording recording = ReadVcd(kOneCapture);
    EXPECT_EQ(recording.begin, 0);
    EXPECT_EQ(recording.end, 200);
    EXPECT_THAT(recording.notes, IsEmpty());
    ASSERT_EQ(recording.signals.size(), 6U);
    EXPECT_EQ(recording.signals[0].name, "trigger");
    EXPECT_EQ(recording.signals[0].path, "camera.trigger");
    EXPECT_EQ(ChangesOf(recording.signals[0]), "0:0 66.4:1 76.46:0");
    EXPECT_EQ(ChangesOf(recording.signals[5]), "0:1");
}

TEST(VcdReader, KnowsEveryTimescale) {
    const auto timed = [](const std::string& timescale) {
        return "$timescale " + timescale + " $end $enddefinitions $end #3";
    };
    const std::vector<std::pair<const char*, double>> timescales = {
        {"1s", 3e3},   {"10 ms", 30},  {"100us", 0.3}, {"1\nns", 3e-6},
        {"1ps", 3e-9}, {"1fs", 3e-12}, {"100 s", 3e5}, {"10fs", 3e-11}};
    for (const auto& [text, milliseconds] : timescales) {
        EXPECT_EQ(ReadVcd(timed(text)).end, milliseconds) << text;
    }
    for (const char* text : {"", "us", "2 us", "1000 us", "1 min", "1 us us", "10"}) {
        EXPECT_EQ(ErrorOf(timed(text)).find("line 1: \""), 0U) << text;
    }
}

TEST(VcdReader, KeepsRealChangesOfFourLevels) {
    EXPECT_EQ(ChangesIn("#0 0! x\" #5000 0! #6000 1! 0! #7000 1! 0! 1! #9000"), "0:0 7:1");
    EXPECT_EQ(ChangesIn("#1000 0! #2000 1! #3000 x! #4000 Z! #5000 X! #6000 z!"),
              "1:0 2:1 3:x 4:z 5:x 6:z");
    EXPECT_EQ(ChangesIn("#0 x! #1000 b1 ! #2000 B0 ! #3000 bz !"), "1:1 2:0 3:z");
}

TEST(VcdReader, BeginsWithTheFirstTimeOrTheFirstValue) {
    EXPECT_EQ(ReadVcd(TwoLines("#5000 0! #9000")).begin, 5);
    EXPECT_EQ(ReadVcd(TwoLines("$dumpvars 1! $end #5000 0! #9000")).begin, 0);
    EXPECT_EQ(ChangesIn("$dumpvars 1! $end #5000 0! #9000"), "0:1 5:0");
}

TEST(VcdReader, SkipsWhatItNeedNotKnow) {
    const Recording recording = ReadVcd(
        "$date today $end $comment $var $end $creator me $end " +
        TwoLines("#0 $comment #7 1! $end $dumpoff x! $end #2000 $dumpon 1! $end\r\n\t#3000"));
    EXPECT_EQ(ChangesOf(recording.signals[0]), "2:1");
    EXPECT_EQ(recording.end, 3);
}

TEST(VcdReader, LeavesOutWhatIsNotASingleWire) {
    const Recording recording = ReadVcd("$timescale 1 ms $end $scope module top $end\n"
                                        "$var reg 8 d data [7:0] $end\n"
                                        "$var real 64 r volts $end\n"
                                        "$var wire 1 w data [3] $end\n"
                                        "$enddefinitions $end\n"
                                        "#0 b01xz d r1.5 r bx w #4 b1 w sIDLE d #8 B0 w");
    ASSERT_EQ(recording.signals.size(), 1U);
    EXPECT_EQ(recording.signals[0].path, "top.data[3]");
    EXPECT_EQ(ChangesOf(recording.signals[0]), "4:1 8:0");
    EXPECT_THAT(
        recording.notes,
        ElementsAre(
            "top.data[7:0] is left out: it is 8 bits wide, and only single wires are drawn.",
            "top.volts is left out: it is 64 bits wide, and only single wires are drawn."));
}

TEST(VcdReader, KeepsEventsAsMarks) {
    const Recording recording = ReadVcd(kEventful);
    EXPECT_EQ(recording.signals.size(), 2U);
    EXPECT_THAT(recording.notes, IsEmpty());
    std::string marks;
    for (const Mark& mark : recording.marks) {
        marks += mark.name + ' ' + std::to_string(static_cast<int>(mark.time * 10)) + ' ';
    }
    EXPECT_EQ(marks, "capture 100 unplug 135 fault 135 fault 140 fault 150 ignored 200 fault 210 ");
    EXPECT_THAT(ReadVcd("$timescale 1 ms $end $var event 1 e tick $end\n"
                        "$enddefinitions $end #0 $dumpvars 0e xe $end #8 ze")
                    .marks,
                IsEmpty())
        << "simulators write such values of events that do not happen";
}

TEST(VcdReader, TellsNamesakesApartByTheirScopes) {
    const Recording recording =
        ReadVcd("$timescale 1 ms $end\n"
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
        ReadVcd("$timescale 1 us $end $scope module \xC3\xA9 $end $var wire 1 ! a\x1B[31m $end "
                "$enddefinitions $end");
    EXPECT_EQ(recording.signals[0].path, "??.a?[31m");
}

TEST(VcdReader, TellsMistakesWithTheirLines) {
    const std::vector<std::pair<std::string, const char*>> mistakes = {
        {"", "line 1: the file ends before $enddefinitions."},
        {"$date\n\ntoday\n", "line 1: \"$date\" is not closed by $end."},
        {"\n\nhello", "line 3: \"hello\" is not a command of a VCD header."},
        {"$enddefinitions $end", "line 1: the header has no $timescale."},
        {"\n$upscope $end", "line 2: $upscope without a $scope before it."},
        {"$scope module $end", "line 1: $scope takes a kind and a name."},
        {"$var wire 1 ! $end", "line 1: $var takes a kind, a width, a short name and a name."},
        {"$var wire -1 ! a $end", "line 1: \"-1\" is not the width of a variable."},
        {TwoLines("#5\n#4"), "line 6: the time goes back from 5 to 4."},
        {TwoLines("#5x"), "line 5: \"#5x\" is not a time."},
        {TwoLines("#"), "line 5: \"#\" is not a time."},
        {TwoLines("#18446744073709551616"), "line 5: \"#18446744073709551616\" is not a time."},
        {TwoLines("#18446744073709551615"), "none"},
        {TwoLines("\n1%"), "line 6: the header has no variable with the short name \"%\"."},
        {TwoLines("1"), "line 5: the header has no variable with the short name \"\"."},
        {TwoLines("2!"), "line 5: \"2!\" is neither a command nor a time nor a value."},
        {TwoLines("b01 !"), "line 5: \"b01\" is not a value of the single wire a."},
        {TwoLines("r1.5\n!"), "line 6: \"r1.5\" is not a value of the single wire a."},
        {TwoLines("b1"), "line 5: the file ends within the value \"b1\"."},
        {TwoLines("$comment\nno end"), "line 5: \"$comment\" is not closed by $end."},
        {std::string(41, '\n') + std::string(50, '\xFF'),
         "line 42: \"????????????????????????????????????????...\" is not a command of a VCD "
         "header."}};
    for (const auto& [vcd, error] : mistakes) {
        EXPECT_EQ(ErrorOf(vcd), error);
    }
}

TEST(VcdReader, EndsWellWhereverTheFileEnds) {
    const std::string_view whole = kOneCapture;
    for (std::size_t size = 0; size < whole.size(); ++size) {
        try {
            EXPECT_LE(ReadVcd(whole.substr(0, size)).end, 200);
        } catch (const VcdError& error) {
            EXPECT_EQ(std::string(error.what()).find("line "), 0U);
        }
    }
}

} // namespace
