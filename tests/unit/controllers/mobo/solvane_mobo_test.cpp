/// What no transcript can show, because a controller that fails is replaced by the next kind.

#include "solvane_mobo.h"

#include <gtest/gtest.h>

#include "controller_operations.h"
#include "solvane_kontron.h"

namespace {

using namespace SLV::Internal;
using namespace test;

constexpr short kUntouched = 0x5A5A;

const std::uint16_t moboFlagAtLoad = moboAccessoriesPowerFlag;
const std::uint16_t kontronFlagAtLoad = kontronAccessoriesPowerFlag;

/// Pins that all read 0: not ready, the flag latched. One write can be made to fail.
class Board final : public SolvaneMoBo {
  public:
    using SolvaneMoBo::SolvaneMoBo;

    bool GetPinValue(PinId, std::uint32_t& value) override {
        value = 0;
        return true;
    }
    bool SetPinValue(PinId, std::uint32_t) override {
        wasZero = wasZero && (watched == nullptr || *watched == 0);
        return ++writes != failingWrite;
    }
    short Configure() override {
        ++configurations;
        return configured;
    }

    short configured = kOk;
    int configurations = 0;
    int writes = 0;
    int failingWrite = 0;
    const short* watched = nullptr; ///< an answer, while pins are driven
    bool wasZero = true;
};

class SolvaneMoBoTest : public testing::Test {
  protected:
    Logger logger;
    Board board{logger};
    short out = kUntouched;
};

TEST_F(SolvaneMoBoTest, AtLoadAccessoriesCountAsOff) {
    EXPECT_EQ(moboFlagAtLoad, 0);
    EXPECT_EQ(kontronFlagAtLoad, 0);
}

TEST_F(SolvaneMoBoTest, WithoutTheBoardEveryOperationLooksForItAgainAndIsMinusThree) {
    board.configured = kNoHardware;
    for (const Operation& operation : kControllerOperations) {
        for (short* const pointer : {&out, static_cast<short*>(nullptr)}) {
            const int before = board.configurations;
            EXPECT_EQ(operation.run(board, pointer), operation.IsGated() ? -3 : 0)
                << operation.name;
            EXPECT_EQ(board.configurations - before, operation.IsGated() ? 1 : 0) << operation.name;
        }
    }
    EXPECT_EQ(board.configurations, 2 * 15);
    EXPECT_EQ(board.writes, 0);
    EXPECT_EQ(out, kUntouched);
}

/// It counts as configured from then on, and the accessories flag keeps its value.
TEST_F(SolvaneMoBoTest, ALineThatCannotBeSetToRestIsReportedOnce) {
    for (int failing = 1; failing <= 4; ++failing) {
        moboAccessoriesPowerFlag = 0;
        Board failingBoard(logger);
        failingBoard.failingWrite = failing;
        out = kUntouched;
        EXPECT_EQ(failingBoard.CheckAccessoriesPower(&out), -2);
        EXPECT_EQ(out, kUntouched);
        EXPECT_EQ(failingBoard.CheckAvailable(), 0);
        EXPECT_EQ(failingBoard.writes, failing);
        EXPECT_EQ(failingBoard.CheckAccessoriesPower(&out), 0);
        EXPECT_EQ(out, failing > 2 ? 1 : 0);
    }
}

TEST_F(SolvaneMoBoTest, TheAccessoriesCommandOutlivesTheController) {
    EXPECT_EQ(board.DisableAccessoriesPower(), 0);
    EXPECT_EQ(Board(logger).EnableAccessoriesPower(), 0);
    EXPECT_EQ(board.CheckAccessoriesPower(&out), 0);
    EXPECT_EQ(out, 1);
}

TEST_F(SolvaneMoBoTest, AFlagIsZeroUntilItsPulseHasBeenGiven) {
    board.CheckAvailable();
    board.watched = &out;
    EXPECT_EQ(board.CheckAndResetMepFlag(&out), 0);
    EXPECT_EQ(out, 1);
    EXPECT_EQ(board.writes, 4 + 2);
    EXPECT_TRUE(board.wasZero);
}

} // namespace
