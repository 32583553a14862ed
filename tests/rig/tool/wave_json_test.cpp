#include "wave_json.h"

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "recordings.h"
#include "wave_layout.h"

namespace {

using namespace rig::wave;
using nlohmann::json;

json Draw(const std::string& vcd) {
    return json::parse(WaveJson(Take(vcd)));
}

std::vector<std::string> Words(const std::string& text) {
    std::istringstream stream(text);
    return {std::istream_iterator<std::string>(stream), {}};
}

/// The levels of a wave without their lengths.
std::string LevelsOf(const json& lane) {
    std::string wave = lane["wave"];
    std::erase(wave, '.');
    return wave;
}

TEST(WaveJson, HasALaneForEveryLineThatChanges) {
    const json source = Draw(OneCapture());
    ASSERT_EQ(source["signal"].size(), 4U);
    EXPECT_EQ(source["signal"][0]["name"], "trigger");
    EXPECT_EQ(LevelsOf(source["signal"][0]), "010");
    EXPECT_EQ(LevelsOf(source["signal"][1]), "101");
    EXPECT_EQ(LevelsOf(Draw(TwoLines("#0 x! #1 z! #2 0! #3"))["signal"][0]), "xz0");
    EXPECT_EQ(source["foot"]["text"], "Unchanged: dark 0, camera_power 1");
}

TEST(WaveJson, NamesTheRangeOfTime) {
    EXPECT_EQ(Draw(OneCapture())["head"]["text"], "0 to 200 ms, not to scale");
}

TEST(WaveJson, HasATimeWhereverALineChanges) {
    const json source = Draw(OneCapture());
    const std::vector<std::string> ticks = Words(source["head"]["tick"]);
    for (const json& lane : source["signal"]) {
        const std::string wave = lane["wave"];
        ASSERT_EQ(ticks.size(), wave.size() + 1) << "one for each period, and the end";
        for (std::size_t i = 0; i < wave.size(); ++i) {
            EXPECT_TRUE(wave[i] == '.' || ticks[i] != "·") << i;
        }
    }
    EXPECT_EQ(ticks.front(), "0");
    EXPECT_EQ(ticks.back(), "200");
    EXPECT_EQ(std::count(ticks.begin(), ticks.end(), "150.004"), 1);
    EXPECT_TRUE(source["head"]["tick"].get<std::string>().ends_with(' '));
}

TEST(WaveJson, WritesTheWidthOfEachPulseBetweenItsEnds) {
    const json source = Draw(OneCapture());
    EXPECT_EQ(source["edge"],
              json({"A<->B 10.06 ms", "C<->D 25 ms", "E<->F 58.604 ms", "G<->H 4 µs"}));
    const std::string nodes = source["signal"][0]["node"];
    const std::string wave = source["signal"][0]["wave"];
    EXPECT_EQ(nodes.find('A'), wave.find('1'));
    EXPECT_EQ(nodes.find('B'), wave.find('0', 1));
    EXPECT_EQ(nodes.find_first_not_of(".AB"), std::string::npos);
}

TEST(WaveJson, HasNoEdgesWithoutPulses) {
    const json source = Draw(TwoLines("#0 0! #5 1! #9"));
    EXPECT_FALSE(source.contains("edge"));
    EXPECT_FALSE(source["signal"][0].contains("node"));
}

TEST(WaveJson, MarksAsManyPulsesAsThereAreNames) {
    std::string values = "#0 0!";
    for (int i = 1; i <= 60; ++i) {
        values += " #" + std::to_string(2 * i) + " 1! #" + std::to_string(2 * i + 1) + " 0!";
    }
    const json source = Draw(TwoLines(values));
    ASSERT_EQ(source["edge"].size(), 53U);
    EXPECT_EQ(source["edge"][12], "Y<->Z 1 µs");
    EXPECT_EQ(source["edge"][13], "Ꭰ<->Ꭱ 1 µs");
    EXPECT_EQ(source["edge"][52], "Ꮾ<->Ꮿ 1 µs");
    EXPECT_EQ(LevelsOf(source["signal"][0]).size(), 121U);
    const std::string nodes = source["signal"][0]["node"];
    const std::string wave = source["signal"][0]["wave"];
    EXPECT_LT(ColumnsOf(nodes), wave.size()) << "a period for each character, not for each byte";
}

TEST(WaveJson, TimesDoNotTouch) {
    // A short time before a long one, and so many more that no room is left over.
    std::string values = "#0 0! 0\" #1000 1!";
    for (int i = 1; i <= 20; ++i) {
        values += " #" + std::to_string(1'000'000'000 + i) + (i % 2 == 1 ? " 1\"" : " 0\"");
    }
    const Picture picture = Take(TwoLines(values + " #1000000021"));
    const std::vector<std::string> ticks = Words(json::parse(WaveJson(picture))["head"]["tick"]);
    constexpr std::size_t kColumnsPerPeriod = 5;
    std::size_t before = 0;
    for (std::size_t i = 1; i < ticks.size(); ++i) {
        if (ticks[i] != "·") {
            EXPECT_GE(kColumnsPerPeriod * (i - before),
                      (ticks[i].size() + ticks[before].size()) / 2 + 1)
                << ticks[before] << ' ' << ticks[i];
            before = i;
        }
    }
}

TEST(WaveJson, AChangeAtTheEndHasOneTime) {
    const std::vector<std::string> ticks = Words(Draw(TwoLines("#0 0! #5000 1!"))["head"]["tick"]);
    EXPECT_EQ(std::count(ticks.begin(), ticks.end(), "5"), 1);
    EXPECT_EQ(ticks.back(), "·");
}

} // namespace
