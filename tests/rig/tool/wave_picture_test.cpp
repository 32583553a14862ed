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

std::string LevelsOf(const Lane& lane) {
    std::string text;
    for (const Level level : lane.levels) {
        text += static_cast<char>(level);
    }
    return text;
}

/// "1-2 10.06 ms"
std::vector<std::string> PulsesOf(const Lane& lane) {
    std::vector<std::string> texts;
    for (const Pulse& pulse : lane.pulses) {
        texts.push_back(std::to_string(pulse.first) + '-' + std::to_string(pulse.last) + ' ' +
                        pulse.width);
    }
    return texts;
}

std::vector<std::string> NamesOf(const std::vector<Lane>& lanes) {
    std::vector<std::string> names;
    for (const Lane& lane : lanes) {
        names.push_back(lane.name);
    }
    return names;
}

std::string ErrorOf(const std::string& vcd, const Excerpt& excerpt) {
    try {
        Take(vcd, excerpt);
    } catch (const ExcerptError& error) {
        return error.what();
    }
    return "none";
}

TEST(Picture, HasAMomentForEveryChange) {
    const Picture picture = Take(OneCapture());
    EXPECT_THAT(picture.times, ElementsAre("0", "66.4", "76.46", "91.4", "150", "150.004", "200"));
    EXPECT_THAT(NamesOf(picture.lanes), ElementsAre("trigger", "ready", "mep", "clear_mep"));
    EXPECT_EQ(LevelsOf(picture.lanes[0]), "010000");
    EXPECT_EQ(LevelsOf(picture.lanes[1]), "100111");
    EXPECT_EQ(LevelsOf(picture.lanes[2]), "000110");
    EXPECT_EQ(LevelsOf(picture.lanes[3]), "000010");
    EXPECT_EQ(SteadyText(picture), "dark 0, camera_power 1");
}

TEST(Picture, APulseIsTheTimeAwayFromRest) {
    const Picture picture = Take(OneCapture());
    EXPECT_THAT(PulsesOf(picture.lanes[0]), ElementsAre("1-2 10.06 ms"));
    EXPECT_THAT(PulsesOf(picture.lanes[1]), ElementsAre("1-3 25 ms")) << "at rest it is high";
    EXPECT_THAT(PulsesOf(picture.lanes[2]), ElementsAre("3-5 58.604 ms"));
    EXPECT_THAT(PulsesOf(picture.lanes[3]), ElementsAre("4-5 4 µs"));
}

TEST(Picture, AnUnknownLevelIsNeitherRestNorPulse) {
    const Picture picture = Take(TwoLines("#0 x! #5 0! #7 x! #8 1! #9 z! #10"));
    EXPECT_EQ(LevelsOf(picture.lanes[0]), "x0x1z");
    EXPECT_THAT(PulsesOf(picture.lanes[0]), ElementsAre("3-4 1 µs"));
}

TEST(Picture, CanBePartOfTheTime) {
    const Picture picture = Take(OneCapture(), {{}, 70, 150.002});
    EXPECT_THAT(picture.times, ElementsAre("70", "76.46", "91.4", "150", "150.002"));
    EXPECT_EQ(LevelsOf(picture.lanes[0]), "1000");
    for (const Lane& lane : picture.lanes) {
        EXPECT_THAT(lane.pulses, IsEmpty()) << "an end of each is out of sight";
    }
}

TEST(Picture, ChangesAtItsBeginningAreNoChanges) {
    const Picture picture = Take(OneCapture(), {{}, 66.4, 80});
    EXPECT_THAT(picture.times, ElementsAre("66.4", "76.46", "80"));
    EXPECT_EQ(LevelsOf(picture.lanes[0]), "10");
    EXPECT_EQ(SteadyText(picture), "ready 0, mep 0, clear_mep 0, dark 0, camera_power 1");
}

TEST(Picture, ShowsTheLevelAfterAChangeAtItsEnd) {
    const Picture picture = Take(TwoLines("#0 0! 0\" #5 1!"));
    EXPECT_THAT(picture.moments, ElementsAre(0, 0.005, 0.005));
    EXPECT_EQ(LevelsOf(picture.lanes[0]), "01");
}

TEST(Picture, CanBePartOfTheLinesInAnyOrder) {
    const Picture picture = Take(OneCapture(), {{"camera.mep", "dark", "trigger", "mep"}, 0, 1000});
    EXPECT_THAT(NamesOf(picture.lanes), ElementsAre("mep", "trigger"));
    EXPECT_EQ(SteadyText(picture), "dark 0");
    EXPECT_THAT(picture.times, ElementsAre("0", "66.4", "76.46", "91.4", "150.004", "200"))
        << "only moments at which one of them changes";
}

TEST(Picture, TimesHaveTheDecimalsThatTellThemApart) {
    const Picture picture = Take("$timescale 10 ns $end $var wire 1 ! a $end $enddefinitions $end "
                                 "#0 0! #150 1! #151 0! #1000");
    EXPECT_THAT(picture.times, ElementsAre("0", "0.0015", "0.00151", "0.01"));
}

TEST(Picture, MayShowNoChangeAtAll) {
    const Picture still = Take(TwoLines("#0 1! 0\" #50"));
    EXPECT_THAT(still.lanes, IsEmpty());
    EXPECT_EQ(SteadyText(still), "a 1, b 0");
    EXPECT_THAT(still.times, ElementsAre("0", "0.05"));
    EXPECT_EQ(SteadyText(Take(TwoLines(""))), "a x, b x");
}

TEST(Picture, CannotShowWhatIsNotThere) {
    EXPECT_EQ(ErrorOf(OneCapture(), {{"flash"}}),
              "there is no signal \"flash\" but: trigger, ready, mep, clear_mep, dark, "
              "camera_power.");
    EXPECT_EQ(ErrorOf(OneCapture(), {{}, 200.1, 300}),
              "nothing was recorded then: the recording goes from 0 to 200 ms.");
    EXPECT_EQ(ErrorOf(TwoLines("#5000 0! #6000"), {{}, 0, 1}),
              "nothing was recorded then: the recording goes from 5 to 6 ms.");
    EXPECT_EQ(ErrorOf("$timescale 1 us $end $enddefinitions $end", {}), "there are no signals.");
}

} // namespace
