#include "controller_ptr.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fake_controller.h"

namespace {

using namespace SLV::Internal;
using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;

class ControllerPtrTest : public testing::Test {
  protected:
    ControllerPtrTest() { ResetFakes(); }
    Logger logger;
};

TEST_F(ControllerPtrTest, ADeleterDestroysItsOwnClassAndLeavesOthersAlone) {
    const ControllerFactory factories[] = {MakeController<A>, MakeController<B>, MakeController<C>,
                                           MakeController<D>};
    for (const ControllerFactory& factory : factories) {
        ControllerPtr made = factory(logger);
        const ControllerDeleter itsDeleter = made.get_deleter();
        const std::string name = events.back().substr(0, 1);
        for (const ControllerFactory& anotherFactory : factories) {
            ControllerPtr another = anotherFactory(logger);
            const std::string anotherName = events.back().substr(0, 1);
            events.clear();
            itsDeleter(another.get());
            if (anotherName == name) {
                EXPECT_THAT(events, ElementsAre(name + " destroyed"));
                static_cast<void>(another.release());
            } else {
                EXPECT_THAT(events, IsEmpty()) << name << " of " << anotherName;
            }
        }
        events.clear();
        itsDeleter(nullptr);
        EXPECT_THAT(events, IsEmpty());
        made.reset();
        EXPECT_THAT(events, ElementsAre(name + " destroyed"));
    }
}

TEST_F(ControllerPtrTest, MovingAControllerMovesItsDeleter) {
    ControllerPtr first = MakeController<A>(logger);
    ControllerPtr second = MakeController<B>(logger);
    events.clear();
    first = std::move(second);
    EXPECT_THAT(events, ElementsAre("A destroyed"));
    first.reset();
    EXPECT_THAT(events, ElementsAre("A destroyed", "B destroyed"));
}

} // namespace
