/// The exported functions over fake controllers: they pass calls on and change nothing. The list of
/// candidates is this file's own; the state is the process's, so each test has a process of its
/// own.

#define SOLVANE_NO_IMPORT
#include <solvane/solvane.h>

#include <stdexcept>

#include "fake_controller.h"
#include "fresh_process.h"
#include "library_state.h"
#include "on_the_rig.h"

std::vector<SLV::Internal::ControllerFactory> SLV::Internal::MakeCandidates() {
    return {MakeController<test::A>, MakeController<test::B>};
}

namespace {

using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;

struct Export {
    const char* name;
    std::int16_t (*call)();
};

const Export kCommands[] = {
    {"TriggerCapture", Solvane_TriggerCapture},
    {"EnableForcedBlackUpdate", Solvane_EnableForcedBlackUpdate},
    {"DisableForcedBlackUpdate", Solvane_DisableForcedBlackUpdate},
    {"WakeCamera", Solvane_WakeCamera},
    {"EnableCameraPower", Solvane_EnableCameraPower},
    {"DisableCameraPower", Solvane_DisableCameraPower},
    {"EnableAccessoriesPower", Solvane_EnableAccessoriesPower},
    {"DisableAccessoriesPower", Solvane_DisableAccessoriesPower},
};

struct QuestionExport {
    const char* name;
    std::int16_t (*call)(std::int16_t*);
};

const QuestionExport kQuestions[] = {
    {"CheckAndResetMepFlag", Solvane_CheckAndResetMepFlag},
    {"CheckSystemReady", Solvane_CheckSystemReady},
    {"CheckForcedBlackUpdate", Solvane_CheckForcedBlackUpdate},
    {"CheckCameraPower", Solvane_CheckCameraPower},
    {"CheckAccessoriesPower", Solvane_CheckAccessoriesPower},
};

class ExportsTest : public OnTheRig {
  protected:
    ExportsTest() { ResetFakes(); }
};

TEST_F(ExportsTest, CommandsGoToTheCurrentControllerAndReturnItsStatus) {
    InFreshProcess([] {
        for (const Export& command : kCommands) {
            A::result = -77;
            EXPECT_EQ(command.call(), -77) << command.name;
            EXPECT_EQ(events.back(), std::string("A.") + command.name);
        }
        EXPECT_EQ(events[0], "A made");
        EXPECT_EQ(events[1], "A asked");
        EXPECT_EQ(events.size(), 2 + std::size(kCommands));
    });
}

TEST_F(ExportsTest, QuestionsPassThePointerUntouchedEvenNull) {
    InFreshProcess([] {
        for (const QuestionExport& question : kQuestions) {
            std::int16_t out = 1234;
            A::result = -9;
            EXPECT_EQ(question.call(&out), -9) << question.name;
            EXPECT_EQ(events.back(), std::string("A.") + question.name);
            EXPECT_EQ(A::lastPointer, &out);
            EXPECT_EQ(out, 1234);
            EXPECT_EQ(question.call(nullptr), -9) << question.name;
            EXPECT_EQ(A::lastPointer, nullptr);
        }
    });
}

TEST_F(ExportsTest, AvailabilityAndTheDefaultsGoToTheControllerToo) {
    InFreshProcess([] {
        EXPECT_EQ(Solvane_CheckAvailable(), 0);
        A::availability = -3;
        EXPECT_EQ(Solvane_CheckAvailable(), -3);
        EXPECT_EQ(Solvane_CheckPowerControlAvailable(), -3);
        events.clear();
        EXPECT_EQ(Solvane_CloseDevice(), 0);
        EXPECT_EQ(Solvane_ResetComPort(), 0);
        EXPECT_THAT(events, IsEmpty()) << "defaults of the interface";
    });
}

TEST_F(ExportsTest, RecheckAsTheFirstCallSelectsTwice) {
    InFreshProcess([] {
        A::availability = -3;
        B::availability = -2;
        EXPECT_EQ(Solvane_RecheckStatus(), -2);
        EXPECT_THAT(events,
                    ElementsAre("A made", "A asked", "B made", "A gone", "B asked", "A made",
                                "B gone", "A asked", "B made", "A gone", "B asked"));
    });
}

TEST_F(ExportsTest, RecheckLaterSelectsOnceAndFindsWhatIsThereNow) {
    InFreshProcess([] {
        A::availability = -3;
        EXPECT_EQ(Solvane_CheckAvailable(), 0);
        events.clear();
        A::availability = 0;
        EXPECT_EQ(Solvane_RecheckStatus(), 0);
        EXPECT_THAT(events, ElementsAre("A made", "B gone", "A asked"));
    });
}

TEST_F(ExportsTest, SetLoggerCreatesNoState) {
    InFreshProcess([] {
        Solvane_SetLogger(nullptr, LogToJournal);
        EXPECT_THAT(events, IsEmpty());
        EXPECT_THAT(TakeJournal(), IsEmpty());
        Solvane_CheckAvailable();
        EXPECT_THAT(TakeLog(),
                    ElementsAre("Controller candidate been created. Checking H/W availability...",
                                "... succeeded!"));
    });
}

TEST_F(ExportsTest, NothingLoggedBeforeALogFunctionIsDeliveredLater) {
    InFreshProcess([] {
        Solvane_CheckAvailable();
        Solvane_SetLogger(nullptr, LogToJournal);
        Solvane_CheckAvailable();
        EXPECT_THAT(TakeLog(), IsEmpty());
    });
}

TEST_F(ExportsTest, AnExceptionLeavesTheCallAndTheNextCallStartsAfresh) {
    InFreshProcess([] {
        A::availability = -3;
        B::throwsWhenMade = true;
        EXPECT_THROW(Solvane_CheckAvailable(), std::runtime_error);
        EXPECT_THAT(events, ElementsAre("A made", "A asked", "A gone"));
        EXPECT_THROW(Solvane_TriggerCapture(), std::runtime_error);
        B::throwsWhenMade = false;
        events.clear();
        EXPECT_EQ(Solvane_CheckAvailable(), 0);
        EXPECT_THAT(events,
                    ElementsAre("A made", "A asked", "B made", "A gone", "B asked", "B asked"));
    });
}

TEST_F(ExportsTest, EnforceFtdiInstallsTheUsbControllerUntilTheNextRecheck) {
    InFreshProcess([] {
        Load("");
        Solvane_SetLogger(nullptr, LogToJournal);
        EXPECT_EQ(Solvane_CheckAvailable(), 0);
        TakeLog();
        Solvane_EnforceFTDI();
        EXPECT_EQ(events.back(), "A gone");
        EXPECT_THAT(TakeLog(),
                    ElementsAre("Controller candidate been created. Checking H/W availability...",
                                "There are no FTDI devices installed", "Configure() result: -3",
                                "... not available. Error -3"));
        EXPECT_EQ(Solvane_CheckAvailable(), -3) << "it stays, available or not";
        EXPECT_EQ(Solvane_RecheckStatus(), 0);
        EXPECT_EQ(Solvane_CheckAvailable(), 0);
    });
}

TEST_F(ExportsTest, EnforceFtdiAsTheFirstCallSelectsFirst) {
    InFreshProcess([] {
        Solvane_EnforceFTDI();
        EXPECT_THAT(events, ElementsAre("A made", "A asked", "A gone"));
        EXPECT_EQ(Solvane_CheckAvailable(), 0);
        EXPECT_EQ(rig_calls("FT_Open"), 1u);
    });
}

/// At the end of the process the controller goes while the log can still be written.
TEST_F(ExportsTest, TheStateGoesBeforeTheLogger) {
    EXPECT_EXIT(
        {
            Solvane_SetLogger(nullptr,
                              [](void*, const char* line) { std::fprintf(stderr, "%s\n", line); });
            Solvane_EnforceFTDI();
            std::exit(0);
        },
        testing::ExitedWithCode(0), "Configure\\(\\) result: 0\n.*succeeded!\n.*Closing device");
}

} // namespace
