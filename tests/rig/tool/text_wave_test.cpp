#include "text_wave.h"

#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "recordings.h"
#include "wave_layout.h"

namespace {

using namespace rig::wave;

TEST(TextWave, ShowsATriggerAndAClearPulseInOnePicture) {
    EXPECT_EQ(DrawText(Take(OneCapture()), {}), Below(R"(
ms         0                66.4          76.46          91.4             150      150.004       200
trigger    _________________┌─ 10.06 ms ──┐_________________________________________________________
ready      ─────────────────┐__________ 25 ms ___________┌──────────────────────────────────────────
mep        ______________________________________________┌─────── 58.604 ms ───────┐________________
clear_mep  _______________________________________________________________┌─ 4 µs ─┐________________

Unchanged: dark 0, camera_power 1
)"));
}

TEST(TextWave, DrawsInAsciiToo) {
    EXPECT_EQ(DrawText(Take(OneCapture()), {80, true}), Below(R"(
ms         0           66.4         76.46      91.4        150      150.004  200
trigger    ____________/- 10.06 ms -\___________________________________________
ready      ------------\________ 25 ms ________/--------------------------------
mep        ____________________________________/---- 58.604 ms -----\___________
clear_mep  ________________________________________________/- 4 us -\___________

Unchanged: dark 0, camera_power 1
)"));
}

TEST(TextWave, WrapsIntoBlocksThatBeginWithTheLevelsBefore) {
    EXPECT_EQ(DrawText(Take(OneCapture(), {{"trigger", "mep", "clear_mep"}}), {50, false}),
              Below(R"(
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
    EXPECT_EQ(DrawText(picture, {70, false}), Below(R"(
ms  0        0.001    0.002    0.003    0.004    0.005    0.006  0.007
a   ░░░░░░░░░├────────┤░░░░░░░░│_ 1 µs _│╌╌╌╌╌╌╌╌│_ 1 µs _│╌╌╌╌╌╌╌╌╌╌╌
b   _________│╌╌╌╌╌╌╌╌├─ 1 µs ─┤╌╌╌╌╌╌╌╌│________│░░░░░░░░│___________
)"));
    EXPECT_EQ(DrawText(picture, {70, true}), Below(R"(
ms  0        0.001    0.002    0.003    0.004    0.005    0.006  0.007
a   ?????????|--------|????????|_ 1 us _|........|_ 1 us _|...........
b   _________|........|- 1 us -|........|________|????????|___________
)"));
}

TEST(TextWave, ShowsTheLevelAfterAChangeAtTheEnd) {
    EXPECT_EQ(DrawText(Take(TwoLines("#0 0! 1\" #5000 1!")), {40, false}), Below(R"(
ms  0                                5
a   _________________________________┌──

Unchanged: b 1
)"));
}

TEST(TextWave, CutsALongNameAtItsBeginning) {
    const std::string vcd = "$timescale 1 us $end $scope module a_very_long_scope $end\n"
                            "$var wire 1 ! trigger_of_camera_1 $end $enddefinitions $end\n"
                            "#0 0! #5000 1! #9000";
    const std::string text = DrawText(Take(vcd), {45, false});
    EXPECT_NE(text.find("\n..r_of_camera_1  ___"), std::string::npos) << text;
}

TEST(TextWave, SaysThatNothingChanges) {
    EXPECT_EQ(DrawText(Take(TwoLines("#0 1! #50000")), {}),
              "Nothing changes from 0 to 50 ms.\nUnchanged: a 1, b x\n");
}

TEST(TextWave, NoRowIsWiderThanAsked) {
    for (std::size_t columns = 40; columns <= 160; ++columns) {
        std::istringstream rows(DrawText(Take(OneCapture()), {columns, false}));
        for (std::string row; std::getline(rows, row) && !row.starts_with("Unchanged");) {
            EXPECT_LE(ColumnsOf(row), columns) << row;
        }
    }
}

} // namespace
