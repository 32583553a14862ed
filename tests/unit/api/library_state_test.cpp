/// Selection with fake candidates that fail to be created; tests/transcripts has the rest.

#define SOLVANE_NO_IMPORT
#include <solvane/solvane.h>

#include "library_state.h"

#include <functional>
#include <stdexcept>

#include "fake_controller.h"
#include "fresh_process.h"
#include "on_the_rig.h"
#include "solvane_eapi.h"

/// The exports' candidates, replaced by the linker.
std::vector<SLV::Internal::ControllerFactory> SLV::Internal::MakeCandidates() {
    return {MakeController<test::A>, MakeController<test::B>};
}

namespace {

using namespace SLV::Internal;
using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;

const std::string kChecking = "Controller candidate been created. Checking H/W availability...";

class SelectionTest : public OnTheRig {
  protected:
    SelectionTest() { ResetFakes(); }

    static std::vector<ControllerFactory> Factories(int count) {
        const std::vector<ControllerFactory> all{MakeController<A>, MakeController<B>,
                                                 MakeController<C>, MakeController<D>};
        return {all.begin(), all.begin() + count};
    }

    std::vector<std::string> TakeEvents() { return std::exchange(events, {}); }
};

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

TEST_F(SelectionTest, ACandidateThatCannotBeCreatedLeavesTheOneBefore) {
    LibraryState state(logger, Factories(1));
    SolvaneInterface* const before = state.controller.get();
    B::throwsWhenCreated = true;
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
    EXPECT_THAT(TakeEvents(), ElementsAre("B created", "A destroyed", "B asked"));
}

/// The Embedded API's controller logs in its constructor.
TEST_F(SelectionTest, AnExceptionOfTheLogFunctionEndsTheConstructionAndLeavesTheBoardAlone) {
    logger.Install(nullptr, [](void*, const char*) { throw std::runtime_error("no room"); });
    EXPECT_THROW(SolvaneEApi controller(logger), std::runtime_error);
    EXPECT_THAT(TakeJournal(), ElementsAre("EApiGetEAPIVersion() -> 0x0, 1.2.3.4"));
}

TEST_F(SelectionTest, AnEmptyFactoryIsAProgrammingError) {
    LibraryState state(logger, Factories(1));
    EXPECT_THROW(TryCandidate(state, ControllerFactory()), std::bad_function_call);
    EXPECT_NE(state.controller, nullptr);
}

TEST_F(SelectionTest, AStateThatCannotBeCreatedDestroysItsController) {
    A::availability = -3;
    B::throwsWhenCreated = true;
    EXPECT_THROW(LibraryState(logger, Factories(2)), std::runtime_error);
    EXPECT_THAT(TakeEvents(), ElementsAre("A created", "A asked", "A destroyed"));
}

TEST_F(SelectionTest, NoCandidatesAreNoError) {
    LibraryState state(logger, {});
    EXPECT_EQ(state.controller, nullptr);
    EXPECT_EQ(SelectController(state), 0);
    EXPECT_THAT(TakeLog(), IsEmpty());
}

TEST_F(SelectionTest, AnExceptionLeavesTheExportAndTheNextCallStartsAfresh) {
    InFreshProcess([] {
        A::availability = -3;
        B::throwsWhenCreated = true;
        EXPECT_THROW(Solvane_CheckAvailable(), std::runtime_error);
        EXPECT_THAT(events, ElementsAre("A created", "A asked", "A destroyed"));
        EXPECT_THROW(Solvane_TriggerCapture(), std::runtime_error);
        B::throwsWhenCreated = false;
        events.clear();
        EXPECT_EQ(Solvane_CheckAvailable(), 0);
        EXPECT_THAT(events, ElementsAre("A created", "A asked", "B created", "A destroyed",
                                        "B asked", "B asked"));
    });
}

TEST_F(SelectionTest, ExportsPassThePointerUntouched) {
    InFreshProcess([] {
        std::int16_t out = 1234;
        A::result = -9;
        EXPECT_EQ(Solvane_CheckSystemReady(&out), -9);
        EXPECT_EQ(A::lastPointer, &out);
        EXPECT_EQ(out, 1234);
    });
}

} // namespace
