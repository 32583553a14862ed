#include "solvane_interface.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fake_controller.h"

namespace {

using namespace SLV::Internal;
using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;

class SolvaneInterfaceTest : public testing::Test {
  protected:
    SolvaneInterfaceTest() { ResetFakes(); }
    Logger logger;
};

TEST_F(SolvaneInterfaceTest, PowerControlIsAvailableWhenTheControllerIs) {
    A fake(logger);
    A::availability = -3;
    EXPECT_EQ(fake.CheckPowerControlAvailable(), -3);
    A::availability = 0;
    EXPECT_EQ(fake.CheckPowerControlAvailable(), 0);
    EXPECT_THAT(events, ElementsAre("A made", "A asked", "A asked"));
}

TEST_F(SolvaneInterfaceTest, ClosingAndResettingTheComPortDoNothingByDefault) {
    A fake(logger);
    A::availability = -3;
    A::result = -2;
    events.clear();
    EXPECT_EQ(fake.CloseDevice(), 0);
    EXPECT_EQ(fake.ResetComPort(), 0);
    EXPECT_THAT(events, IsEmpty());
}

TEST_F(SolvaneInterfaceTest, ADeleterDestroysItsOwnClassAndLeavesOthersAlone) {
    ControllerPtr made = MakeController<A>(logger);
    const ControllerDeleter deleterOfA = made.get_deleter();
    ControllerPtr other = MakeController<B>(logger);
    events.clear();
    deleterOfA(other.get());
    EXPECT_THAT(events, IsEmpty());
    other.reset();
    made.reset();
    EXPECT_THAT(events, ElementsAre("B gone", "A gone"));
}

TEST_F(SolvaneInterfaceTest, MovingAControllerMovesItsDeleter) {
    ControllerPtr first = MakeController<A>(logger);
    ControllerPtr second = MakeController<B>(logger);
    events.clear();
    first = std::move(second);
    EXPECT_THAT(events, ElementsAre("A gone"));
    first.reset();
    EXPECT_THAT(events, ElementsAre("A gone", "B gone"));
}

} // namespace
