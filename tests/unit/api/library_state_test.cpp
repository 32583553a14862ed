#include "library_state.h"

#include <functional>
#include <stdexcept>

#include "fake_controller.h"
#include "on_the_rig.h"

namespace {

using namespace SLV::Internal;
using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;

const std::string kChecking = "Controller candidate been created. Checking H/W availability...";
const std::string kSucceeded = "... succeeded!";

class SelectionTest : public OnTheRig {
  protected:
    SelectionTest() { ResetFakes(); }

    static std::vector<ControllerFactory> Factories(int count) {
        const std::vector<ControllerFactory> all{MakeController<A>, MakeController<B>,
                                                 MakeController<C>, MakeController<D>};
        return {all.begin(), all.begin() + count};
    }

    static void SetAvailability(const std::vector<short>& availability) {
        short* const slots[] = {&A::availability, &B::availability, &C::availability,
                                &D::availability};
        for (std::size_t i = 0; i < availability.size(); ++i) {
            *slots[i] = availability[i];
        }
    }

    std::vector<std::string> TakeEvents() { return std::exchange(events, {}); }
};

/// Every number of candidates and every set of them that answers.
TEST_F(SelectionTest, TheFirstThatAnswersStaysElseTheLast) {
    for (int count = 1; count <= 4; ++count) {
        for (unsigned answering = 0; answering < 1u << count; ++answering) {
            SCOPED_TRACE(testing::Message() << count << " candidates, answering " << answering);
            std::vector<short> availability;
            std::vector<std::string> expectedEvents;
            Journal expectedLog;
            short expectedStatus = 0;
            bool found = false;
            for (int i = 0; i < count; ++i) {
                const bool answers = (answering >> i & 1) != 0;
                availability.push_back(answers ? short{0} : static_cast<short>(-10 - i));
                if (found) {
                    continue;
                }
                const std::string name(1, static_cast<char>('A' + i));
                expectedEvents.push_back(name + " made");
                if (i > 0) {
                    expectedEvents.push_back(std::string(1, static_cast<char>('A' + i - 1)) +
                                             " gone");
                }
                expectedEvents.push_back(name + " asked");
                expectedLog.push_back(kChecking);
                expectedStatus = availability.back();
                expectedLog.push_back(answers ? kSucceeded
                                              : "... not available. Error " +
                                                    std::to_string(expectedStatus));
                found = answers;
            }
            SetAvailability(availability);

            LibraryState state(logger, Factories(count));
            EXPECT_EQ(TakeEvents(), expectedEvents);
            EXPECT_EQ(TakeLog(), expectedLog);
            ASSERT_NE(state.controller, nullptr);

            const std::string current = expectedEvents.back().substr(0, 1);
            EXPECT_EQ(SelectController(state), expectedStatus);
            EXPECT_EQ(TakeLog(), expectedLog);
            const std::vector<std::string> again = TakeEvents();
            EXPECT_EQ(again[0], "A made") << "a new pass begins with the first candidate";
            EXPECT_EQ(again[1], current + " gone");
            state.controller.reset();
            TakeEvents();
        }
    }
}

TEST_F(SelectionTest, TheStateDestroysItsControllerWithTheControllersOwnDeleter) {
    { LibraryState state(logger, Factories(1)); }
    EXPECT_EQ(events.back(), "A gone");
}

TEST_F(SelectionTest, WithoutALogFunctionNothingIsLoggedAndTheResultIsTheSame) {
    logger.Install(nullptr, nullptr);
    A::availability = -3;
    LibraryState state(logger, Factories(2));
    EXPECT_THAT(TakeLog(), IsEmpty());
    EXPECT_THAT(events, ElementsAre("A made", "A asked", "B made", "A gone", "B asked"));
}

TEST_F(SelectionTest, AStatusIsLoggedAsASignedNumber) {
    A::availability = static_cast<short>(0x8000);
    LibraryState state(logger, Factories(1));
    EXPECT_THAT(TakeLog(), ElementsAre(kChecking, "... not available. Error -32768"));
}

TEST_F(SelectionTest, TheFactoryGetsTheStatesLogger) {
    Logger* given = nullptr;
    LibraryState state(logger, {[&](Logger& factoryLogger) {
                           given = &factoryLogger;
                           return MakeController<A>(factoryLogger);
                       }});
    EXPECT_EQ(given, &logger);
    EXPECT_EQ(&state.logger, &logger);
}

TEST_F(SelectionTest, ACandidateThatCannotBeMadeLeavesTheOneBefore) {
    LibraryState state(logger, Factories(1));
    SolvaneInterface* const before = state.controller.get();
    B::throwsWhenMade = true;
    events.clear();
    TakeLog();
    EXPECT_THROW(TryCandidate(state, MakeController<B>), std::runtime_error);
    EXPECT_EQ(state.controller.get(), before);
    EXPECT_THAT(events, IsEmpty());
    EXPECT_THAT(TakeLog(), IsEmpty());
}

TEST_F(SelectionTest, ACandidateThatThrowsWhenAskedStaysInstalled) {
    LibraryState state(logger, Factories(1));
    B::throwsWhenAsked = true;
    TakeEvents();
    EXPECT_THROW(TryCandidate(state, MakeController<B>), std::runtime_error);
    EXPECT_THAT(TakeEvents(), ElementsAre("B made", "A gone", "B asked"));
}

TEST_F(SelectionTest, AnEmptyFactoryIsAProgrammingError) {
    LibraryState state(logger, Factories(1));
    EXPECT_THROW(TryCandidate(state, ControllerFactory()), std::bad_function_call);
    EXPECT_NE(state.controller, nullptr);
}

TEST_F(SelectionTest, AStateThatCannotBeMadeTearsItsControllerDown) {
    A::availability = -3;
    B::throwsWhenMade = true;
    EXPECT_THROW(LibraryState(logger, Factories(2)), std::runtime_error);
    EXPECT_THAT(TakeEvents(), ElementsAre("A made", "A asked", "A gone"));
}

TEST_F(SelectionTest, NoCandidatesAreNoError) {
    LibraryState state(logger, {});
    EXPECT_EQ(state.controller, nullptr);
    EXPECT_EQ(SelectController(state), 0);
    EXPECT_THAT(TakeLog(), IsEmpty());
}

} // namespace
