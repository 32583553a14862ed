#include "wave_picture.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "recordings.h"

namespace {

using namespace rig::wave;
using testing::ElementsAre;
using testing::IsEmpty;

/// "trigger 0 1(10.06 ms)2 0": name, first level, and the moments between which the level differs.
std::string Text(const Lane& lane) {
    std::string text = lane.name;
    for (const Stretch& stretch : lane.stretches) {
        text += ' ' + std::to_string(stretch.first) + '-' + std::to_string(stretch.last) + ':' +
                kLevelDigits[static_cast<std::size_t>(stretch.level)] +
                (stretch.width.empty() ? "" : '(' + stretch.width + ')');
    }
    return text;
}

std::vector<std::string> LanesOf(const Picture& picture) {
    std::vector<std::string> texts;
    for (const Lane& lane : picture.lanes) {
        texts.push_back(Text(lane));
    }
    return texts;
}

std::string SteadyIn(const Picture& picture) {
    return SteadyText(picture, std::string::npos);
}

/// The width shown for one pulse.
std::string WidthOf(std::uint64_t nanoseconds, Form form) {
    const std::string end = std::to_string(1'000'000 + nanoseconds);
    const Picture picture = Take("$timescale 1 ns $end $var wire 1 ! a $end $enddefinitions $end "
                                 "#0 0! #1000000 1! #" +
                                     end + " 0! #9999999999999",
                                 {}, form);
    return picture.lanes.at(0).stretches.at(1).width;
}

std::string ErrorOf(std::string_view vcd, const Excerpt& excerpt) {
    try {
        Take(vcd, excerpt);
    } catch (const ExcerptError& error) {
        return error.what();
    }
    return "none";
}

TEST(Picture, HasAMomentForEveryChangeAndAWidthForEveryPulse) {
    const Picture picture = Take(kOneCapture);
    EXPECT_THAT(picture.times, ElementsAre("0", "66.4", "76.46", "91.4", "150", "150.004", "200"));
    EXPECT_THAT(LanesOf(picture),
                ElementsAre("trigger 0-1:0 1-2:1(10.06 ms) 2-6:0",
                            "ready 0-1:1 1-3:0(25 ms) 3-6:1", // at rest it is high
                            "mep 0-3:0 3-5:1(58.604 ms) 5-6:0",
                            "clear_mep 0-4:0 4-5:1(4 µs) 5-6:0"));
    EXPECT_EQ(SteadyIn(picture), "Unchanged: dark 0, camera_power 1");
}

TEST(Picture, AnUnknownLevelIsNeitherRestNorPulse) {
    EXPECT_THAT(LanesOf(Take(TwoLines("#0 x! #5 0! #7 x! #8 1! #9 z! #10"))),
                ElementsAre("a 0-1:x 1-2:0 2-3:x 3-4:1(1 µs) 4-5:z"));
}

TEST(Picture, CanBePartOfTheTime) {
    const Picture picture = Take(kOneCapture, {{}, 66.4, 150.002});
    EXPECT_THAT(picture.times, ElementsAre("66.4", "76.46", "91.4", "150", "150.002"));
    EXPECT_THAT(LanesOf(picture), ElementsAre("trigger 0-1:1 1-4:0", "ready 0-2:0 2-4:1",
                                              "mep 0-2:0 2-4:1", "clear_mep 0-3:0 3-4:1"))
        << "what is at the beginning is no change, and an end of each pulse is out of observation";
}

TEST(Picture, CanBePartOfTheLinesInAnyOrder) {
    const Picture picture = Take(kOneCapture, {{"camera.mep", "dark", "trigger", "mep"}, 0, 1000});
    EXPECT_THAT(LanesOf(picture), ElementsAre("mep 0-3:0 3-4:1(58.604 ms) 4-5:0",
                                              "trigger 0-1:0 1-2:1(10.06 ms) 2-5:0"));
    EXPECT_EQ(SteadyIn(picture), "Unchanged: dark 0");
}

TEST(Picture, ShowsTheLevelAfterAChangeAtItsEnd) {
    const Picture picture = Take(TwoLines("#0 0! 0\" #5 1!"));
    EXPECT_THAT(picture.moments, ElementsAre(0, 0.005, 0.005));
    EXPECT_THAT(LanesOf(picture), ElementsAre("a 0-1:0 1-2:1"));
}

TEST(Picture, TimesHaveTheDigitsThatTheyNeed) {
    EXPECT_THAT(Take("$timescale 10 ns $end $var wire 1 ! a $end $enddefinitions $end "
                     "#0 0! #150 1! #151 0! #1000")
                    .times,
                ElementsAre("0", "0.0015", "0.00151", "0.01"));
    EXPECT_THAT(Take("$timescale 100 ns $end $var wire 1 ! a $end $enddefinitions $end "
                     "#0 0! #12346 1!")
                    .times,
                ElementsAre("0", "1.235", "1.235"))
        << "the end is the moment of the change";
    EXPECT_THAT(Take("$timescale 100 s $end $var wire 1 ! a $end $enddefinitions $end "
                     "#0 0! #18446744073709551615")
                    .times,
                ElementsAre("0", "1844674407370955161600000"));
}

TEST(Picture, ADrawingHasRoundTimes) {
    const auto times = [](std::string_view vcd) { return Take(vcd, {}, Form::drawing).times; };
    EXPECT_THAT(times(kOneCapture), ElementsAre("0", "66.4", "76.5", "91.4", "150", "150", "200"));
    EXPECT_THAT(times(TwoLines("#0 0! #1234567 1! #3000000")), ElementsAre("0", "1235", "3000"));
    EXPECT_THAT(times(TwoLines("#0 0! #4 1! #6 0! #10")),
                ElementsAre("0", "0.004", "0.006", "0.01"));
}

TEST(Picture, WidthsHaveTheUnitThatSuitsThem) {
    EXPECT_EQ(WidthOf(10'060'000, Form::text), "10.06 ms");
    EXPECT_EQ(WidthOf(2'947'123'456, Form::text), "2947.123 ms");
    EXPECT_EQ(WidthOf(1'000'000, Form::text), "1 ms");
    EXPECT_EQ(WidthOf(999'900, Form::text), "999.9 µs");
    EXPECT_EQ(WidthOf(4'000, Form::text), "4 µs");
    EXPECT_EQ(WidthOf(500, Form::text), "500 ns");
    EXPECT_EQ(WidthOf(12'335'000, Form::drawing), "12.3 ms");
    EXPECT_EQ(WidthOf(99'960'000, Form::drawing), "100 ms");
    EXPECT_EQ(WidthOf(2'947'123'000, Form::drawing), "2950 ms");
    EXPECT_EQ(WidthOf(999'600, Form::drawing), "1 ms");
    EXPECT_EQ(WidthOf(4'000, Form::drawing), "4 µs");
}

TEST(Picture, HasAMomentForEveryEvent) {
    const Picture picture = Take(kEventful);
    EXPECT_THAT(picture.times, ElementsAre("0", "10", "13.5", "20", "21", "30", "35", "40"));
    EXPECT_THAT(picture.marks,
                ElementsAre("", "capture", "unplug, fault x3", "ignored", "fault", "", "", ""))
        << "what happens again and again is one, as long as no line changes";
    EXPECT_EQ(MarksText(Take(kEventful, {{}, 12, 20})), "Events: unplug, fault x3 at 13.5, "
                                                        "ignored at 20");
    EXPECT_EQ(MarksText(Take(kOneCapture)), "");
    EXPECT_THAT(Take("$timescale 1 ms $end $var wire 1 ! a $end $var event 1 e " +
                     std::string(30, 'n') + "_tick $end $enddefinitions $end #0 0! #4 1e #5 1!")
                    .marks,
                ElementsAre("", ".." + std::string(13, 'n') + "_tick", "", ""));
}

TEST(Picture, MayShowNoChangeAtAll) {
    const Picture still = Take(TwoLines("#0 1! 0\" #50"));
    EXPECT_THAT(still.lanes, IsEmpty());
    EXPECT_EQ(SteadyIn(still), "Unchanged: a 1, b 0");
    EXPECT_EQ(NothingChanges(still), "Nothing changes from 0 to 0.05 ms.");
    EXPECT_EQ(NothingChanges(Take(TwoLines("#5000 1!"))), "Nothing changes at 5 ms.");
    EXPECT_EQ(SteadyIn(Take(TwoLines(""))), "Unchanged: a x, b x");
}

TEST(Picture, CannotShowWhatIsNotThere) {
    EXPECT_EQ(ErrorOf(kOneCapture, {{"flash"}}),
              "there is no signal \"flash\" but: trigger, ready, mep, clear_mep, dark, "
              "camera_power.");
    EXPECT_EQ(ErrorOf(kOneCapture, {{}, 200.1, 300}),
              "nothing was recorded then: the recording goes from 0 to 200 ms.");
    EXPECT_EQ(ErrorOf(TwoLines("#5000 0! #6000"), {{}, 0, 1}),
              "nothing was recorded then: the recording goes from 5 to 6 ms.");
    EXPECT_EQ(ErrorOf("$timescale 1 us $end $enddefinitions $end", {}), "there are no signals.");
}

} // namespace
