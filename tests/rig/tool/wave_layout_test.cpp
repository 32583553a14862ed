#include "wave_layout.h"

#include <algorithm>
#include <numeric>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "recordings.h"

namespace {

using namespace rig::wave;
using testing::Each;
using testing::ElementsAre;
using testing::Ge;

std::vector<std::size_t> ColumnsIn(const Block& block) {
    std::vector<std::size_t> columns;
    for (const Span& span : block) {
        columns.push_back(span.columns);
    }
    return columns;
}

std::vector<std::size_t> IntervalsIn(const Block& block) {
    std::vector<std::size_t> intervals;
    for (const Span& span : block) {
        intervals.push_back(span.interval);
    }
    return intervals;
}

std::size_t Sum(const Block& block) {
    const std::vector<std::size_t> columns = ColumnsIn(block);
    return std::accumulate(columns.begin(), columns.end(), std::size_t{0});
}

/// A line that changes every 100 µs, so many times, and rests in between.
std::string Ticking(int changes) {
    std::string values = "#0 0! 0\"";
    for (int i = 1; i <= changes; ++i) {
        values += " #" + std::to_string(100 * i) + (i % 2 == 1 ? " 1!" : " 0!");
    }
    return TwoLines(values + " #" + std::to_string(100 * (changes + 1)));
}

TEST(Layout, FillsTheRow) {
    for (std::size_t columns = 60; columns <= 300; ++columns) {
        const std::vector<Block> blocks = LayOut(Take(OneCapture()), columns);
        ASSERT_EQ(blocks.size(), 1U) << columns;
        EXPECT_THAT(IntervalsIn(blocks[0]), ElementsAre(0, 1, 2, 3, 4, 5));
        EXPECT_EQ(Sum(blocks[0]), columns);
    }
}

TEST(Layout, EveryIntervalHasRoomForItsTime) {
    const Picture picture = Take(OneCapture());
    const Block block = LayOut(picture, 60).front();
    for (const Span& span : block) {
        EXPECT_GE(span.columns, picture.times[span.interval].size() + 2) << span.interval;
    }
    EXPECT_GE(block.back().columns, std::string("150.004  200").size());
}

TEST(Layout, EveryPulseHasRoomForItsWidth) {
    const Block block = LayOut(Take(OneCapture()), 60).front();
    EXPECT_GE(block[1].columns, std::string("x- 10.06 ms -").size());
    EXPECT_GE(block[1].columns + block[2].columns, std::string("x- 25 ms -").size());
    EXPECT_GE(block[3].columns + block[4].columns, std::string("x- 58.604 ms -").size());
    EXPECT_GE(block[4].columns, std::string("x- 4 u -").size());
}

TEST(Layout, LongIntervalsAreWiderButNotInProportion) {
    // 1 µs, 1 ms and 1 s, all three with times of about the same length.
    const Block block =
        LayOut(Take(TwoLines("#0 0! 0\" #1000000 1! 1\" #1000001 x! #1001001 x\" #2001001")), 150)
            .front();
    ASSERT_EQ(block.size(), 4U);
    EXPECT_LT(block[1].columns, block[2].columns);
    EXPECT_LT(block[2].columns, block[3].columns);
    EXPECT_LT(block[3].columns, 8 * block[1].columns);
}

TEST(Layout, WrapsRatherThanDropsAChange) {
    const Picture picture = Take(Ticking(60));
    const std::vector<Block> blocks = LayOut(picture, 80);
    ASSERT_GT(blocks.size(), 4U);
    std::size_t next = 0;
    for (const Block& block : blocks) {
        EXPECT_EQ(Sum(block), 80U);
        const std::vector<std::size_t> intervals = IntervalsIn(block);
        EXPECT_EQ(intervals.front(), next) << "the interval that was broken off";
        for (std::size_t i = 0; i < intervals.size(); ++i) {
            EXPECT_EQ(intervals[i], next + i);
        }
        next = intervals.back();
    }
    EXPECT_EQ(next, picture.Intervals() - 1);
}

TEST(Layout, FillsBlocksEvenly) {
    for (const Block& block : LayOut(Take(Ticking(60)), 80)) {
        EXPECT_THAT(block.size(), testing::AllOf(Ge(7U), testing::Le(9U)));
    }
}

TEST(Layout, BreaksBetweenPulsesRatherThanWithin) {
    const Picture picture = Take(Ticking(60));
    for (const Block& block : LayOut(picture, 80)) {
        const std::size_t last = block.back().interval;
        EXPECT_EQ(picture.lanes[0].levels[last], Level::low) << last;
    }
}

TEST(Layout, ABlockWithOneChangeMayBeTooWide) {
    const std::vector<Block> blocks = LayOut(Take(OneCapture()), 5);
    EXPECT_EQ(blocks.size(), 5U) << "one for each change";
    for (const Block& block : blocks) {
        EXPECT_EQ(block.size(), 2U);
        EXPECT_THAT(ColumnsIn(block), Each(Ge(3U)));
    }
}

TEST(Layout, APictureWithoutChangesIsOneInterval) {
    const std::vector<Block> blocks = LayOut(Take(TwoLines("#0 1! #50")), 80);
    ASSERT_EQ(blocks.size(), 1U);
    EXPECT_THAT(ColumnsIn(blocks[0]), ElementsAre(80U));
}

TEST(Layout, ADrawingIsInProportionButForWhatIsFarLonger) {
    // 10, 20 and 30 ms, and 1 s, which is cut.
    const std::vector<Block> blocks =
        LayOut(Take(TwoLines("#0 0! 0\" #10000 1! 1\" #30000 x! #60000 x\" #1060000")), 300,
               Form::drawing);
    ASSERT_EQ(blocks.size(), 1U);
    const std::vector<std::size_t> columns = ColumnsIn(blocks[0]);
    EXPECT_EQ(Sum(blocks[0]), 300U);
    EXPECT_NEAR(static_cast<double>(columns[1]), 2.0 * static_cast<double>(columns[0]), 1);
    EXPECT_NEAR(static_cast<double>(columns[2]), 3.0 * static_cast<double>(columns[0]), 1);
    EXPECT_NEAR(static_cast<double>(columns[3]), 2.0 * static_cast<double>(columns[2]), 1)
        << "twice what is usual";
    EXPECT_FALSE(blocks[0][0].isCut || blocks[0][1].isCut || blocks[0][2].isCut);
    EXPECT_TRUE(blocks[0][3].isCut);
}

TEST(Layout, WhatIsTooShortToBeSeenIsNotUsual) {
    // Three of 1 µs beside two of 10 and one of 30 ms: 10 ms are usual, 30 not far longer.
    const std::vector<Block> blocks = LayOut(
        Take(TwoLines("#0 0! #1 1! #2 0! #3 1! #10003 0! #20003 1! #50003")), 300, Form::drawing);
    ASSERT_EQ(blocks.size(), 1U);
    for (const Span& span : blocks[0]) {
        EXPECT_FALSE(span.isCut) << span.interval;
    }
}

TEST(Layout, TextCutsNothing) {
    const std::vector<Block> blocks = LayOut(Take(OneCapture()), 100);
    for (const Span& span : blocks.front()) {
        EXPECT_FALSE(span.isCut);
    }
}

TEST(Layout, ADrawingHasRoomForTheShortest) {
    const Picture picture = Take(OneCapture());
    for (const Block& block : LayOut(picture, 75, Form::drawing)) {
        for (const Span& span : block) {
            EXPECT_GE(span.columns, picture.times[span.interval].size() + 2) << span.interval;
        }
    }
}

TEST(Layout, ANameIsCutAtItsBeginning) {
    EXPECT_EQ(CutTo(7, "trigger"), "trigger");
    EXPECT_EQ(CutTo(6, "trigger"), "..gger");
}

TEST(Layout, AColumnIsACharacter) {
    EXPECT_EQ(ColumnsOf(""), 0U);
    EXPECT_EQ(ColumnsOf("4 ms"), 4U);
    EXPECT_EQ(ColumnsOf("4 µs"), 4U);
}

} // namespace
