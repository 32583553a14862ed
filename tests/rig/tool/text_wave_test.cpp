#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "recordings.h"
#include "wave_layout.h"

namespace {

using namespace rig::wave;

/// A recording of a line that changes `changes` times, 100 µs apart.
std::string Ticking(int changes) {
    std::string values = "#0 0! 0\"";
    for (int i = 1; i <= changes; ++i) {
        values += " #" + std::to_string(100 * i) + (i % 2 == 1 ? " 1!" : " 0!");
    }
    return TwoLines(values + " #" + std::to_string(100 * (changes + 1)));
}

TEST(TextWave, ShowsATriggerAndAClearPulseInOnePicture) {
    EXPECT_EQ(DrawText(Take(kOneCapture)), Below(R"(
ms         0                66.4          76.46          91.4             150      150.004       200
trigger    _________________┌─ 10.06 ms ──┐_________________________________________________________
ready      ─────────────────┐__________ 25 ms ___________┌──────────────────────────────────────────
mep        ______________________________________________┌─────── 58.604 ms ───────┐________________
clear_mep  _______________________________________________________________┌─ 4 µs ─┐________________

Unchanged: dark 0, camera_power 1
)"));
}

TEST(TextWave, TellsOfEventsBelowTheTimes) {
    EXPECT_EQ(DrawText(Take(kEventful), 50), Below(R"(
ms       0           10         13.5
events               capture    unplug, fault x3
trigger  ____________┌─ 3.5 ms ─┐_________________
ready    ────────────┐__________ 25 ms ___________

ms           20       21         30      35     40
events       ignored  fault
trigger  ____┌────── 10 ms ──────┐________________
ready    ____________ 25 ms _____________┌────────
)"));
    EXPECT_EQ(DrawText(Take("$timescale 1 ms $end $var wire 1 ! a $end $var event 1 e tick $end\n"
                            "$enddefinitions $end #0 0! 1e #1234567 1! #2234567 0! #3234567"),
                       40),
              Below(R"(
ms      0                1234567
events  tick
a       _________________┌─ 1000000 ms ─

ms          2234567              3234567
events
a       ────┐___________________________
)")) << "each block has the same rows";
    EXPECT_EQ(DrawText(Take(kEventful, {{"ready"}, 11, 25}), 60), Below(R"(
Nothing changes from 11 to 25 ms.
Events: unplug, fault x3 at 13.5, ignored at 20, fault at 21 ms.

Unchanged: ready 0
)"));
}

TEST(TextWave, DrawsInAsciiToo) {
    EXPECT_EQ(DrawText(Take(kOneCapture), 80, true), Below(R"(
ms         0           66.4         76.46      91.4        150      150.004  200
trigger    ____________/- 10.06 ms -\___________________________________________
ready      ------------\________ 25 ms ________/--------------------------------
mep        ____________________________________/---- 58.604 ms -----\___________
clear_mep  ________________________________________________/- 4 us -\___________

Unchanged: dark 0, camera_power 1
)"));
}

TEST(TextWave, WrapsIntoBlocksThatBeginWithTheLevelsBefore) {
    EXPECT_EQ(DrawText(Take(kOneCapture, {{"trigger", "mep", "clear_mep"}}), 50), Below(R"(
ms         0             66.4         76.46
trigger    ______________┌─ 10.06 ms ─┐___________
mep        _______________________________________
clear_mep  _______________________________________

ms             91.4         150      150.004   200
trigger    _______________________________________
mep        ____┌───── 58.604 ms ─────┐____________
clear_mep  _________________┌─ 4 µs ─┐____________
)"));
}

TEST(TextWave, DrawsAllLevels) {
    const Picture picture =
        Take(TwoLines("#0 x! 0\" #1 1! z\" #2 x! 1\" #3 0! z\" #4 z! 0\" #5 0! x\" #6 z! 0\" #7"));
    EXPECT_EQ(DrawText(picture, 70), Below(R"(
ms  0        0.001    0.002    0.003    0.004    0.005    0.006  0.007
a   ░░░░░░░░░├────────┤░░░░░░░░│_ 1 µs _│╌╌╌╌╌╌╌╌│_ 1 µs _│╌╌╌╌╌╌╌╌╌╌╌
b   _________│╌╌╌╌╌╌╌╌├─ 1 µs ─┤╌╌╌╌╌╌╌╌│________│░░░░░░░░│___________
)"));
    EXPECT_EQ(DrawText(picture, 70, true), Below(R"(
ms  0        0.001    0.002    0.003    0.004    0.005    0.006  0.007
a   ?????????|--------|????????|_ 1 us _|........|_ 1 us _|...........
b   _________|........|- 1 us -|........|________|????????|___________
)"));
}

TEST(TextWave, ShowsTheLevelAfterAChangeAtTheEnd) {
    EXPECT_EQ(DrawText(Take(TwoLines("#0 0! 1\" #5000 1!")), 40), Below(R"(
ms  0                                5
a   _________________________________┌──

Unchanged: b 1
)"));
}

TEST(TextWave, CutsALongNameAtItsBeginning) {
    const std::string vcd = "$timescale 1 us $end $scope module a_very_long_scope $end\n"
                            "$var wire 1 ! trigger_of_camera_1 $end $enddefinitions $end\n"
                            "#0 0! #5000 1! #9000";
    const std::string text = DrawText(Take(vcd), 45);
    EXPECT_NE(text.find("\n..r_of_camera_1  ___"), std::string::npos) << text;
}

TEST(TextWave, SaysThatNothingChanges) {
    EXPECT_EQ(DrawText(Take(TwoLines("#0 1! #50000"))),
              "Nothing changes from 0 to 50 ms.\nUnchanged: a 1, b x\n");
}

TEST(TextWave, EveryRowIsFullAndNoneTooWide) {
    for (std::size_t columns = 40; columns <= 160; ++columns) {
        std::istringstream rows(DrawText(Take(kOneCapture), columns));
        for (std::string row; std::getline(rows, row) && !row.starts_with("Unchanged");) {
            const std::size_t least = row.empty() || row.starts_with("ms") ? 0 : columns - 1;
            EXPECT_GE(ColumnsOf(row), least) << row; // may end with the blank after a width
            EXPECT_LE(ColumnsOf(row), columns) << row;
        }
    }
}

TEST(Layout, BreaksBetweenPulsesAndDropsNoChange) {
    const Picture picture = Take(Ticking(60));
    std::size_t last = 0;
    for (const Block& block : LayOut(picture, 80)) {
        EXPECT_EQ(block.Width(), 80U);
        EXPECT_EQ(block.first, last == 0 ? 0 : last - 1) << "the interval that was broken off";
        EXPECT_EQ(block.first % 2, 0U) << "in a pulse";
        last = block.Last();
    }
    EXPECT_EQ(last, picture.Intervals());
}

TEST(Layout, APulseThatIsLongerThanABlockIsBrokenRatherThanBegunInTheNextOne) {
    std::string values = "#0 x! 0\" #10 0! #50 1\"";
    for (int i = 1; i <= 60; ++i) {
        values += " #" + std::to_string(100 * i) + (i % 2 == 1 ? " 1!" : " 0!");
    }
    const std::vector<Block> blocks = LayOut(Take(TwoLines(values + " #9000 0\" #9999")), 80);
    EXPECT_GT(blocks.front().columns.size(), 5U);
}

TEST(Layout, ABlockWithOneChangeMayBeTooWide) {
    const std::vector<Block> blocks = LayOut(Take(kOneCapture), 5);
    EXPECT_EQ(blocks.size(), 5U) << "one for each change";
    for (const Block& block : blocks) {
        EXPECT_EQ(block.columns.size(), 3U);
        EXPECT_GE(block.Width(), 7U);
    }
}

TEST(Layout, LongIntervalsAreWiderButInTextNotInProportion) {
    // Steps of 1 µs, 1 ms and 1 s; their times have about the same number of characters.
    const std::vector<std::size_t> columns =
        LayOut(Take(TwoLines("#0 0! 0\" #1000000 1! 1\" #1000001 x! #1001001 x\" #2001001")), 150)
            .front()
            .columns;
    ASSERT_EQ(columns.size(), 5U);
    EXPECT_LT(columns[2] - columns[1], columns[3] - columns[2]);
    EXPECT_LT(columns[3] - columns[2], columns[4] - columns[3]);
    EXPECT_LT(columns[4] - columns[3], 8 * (columns[2] - columns[1]));
}

} // namespace
