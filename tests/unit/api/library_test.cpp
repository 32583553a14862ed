/// The library as a host meets it, over the real candidates on the rig.

#define SOLVANE_NO_IMPORT
#include <solvane/solvane.h>

#include "chip_on_the_rig.h"
#include "fresh_process.h"

namespace {

using namespace test;
using testing::Contains;
using testing::Each;
using testing::IsEmpty;

const std::string kChecking = "Controller candidate been created. Checking H/W availability...";

class LibraryTest : public OnTheRig {
  protected:
    LibraryTest() { Solvane_SetLogger(nullptr, LogToJournal); }
};

TEST_F(LibraryTest, TheFirstTriggerFindsConfiguresAndTriggers) {
    InFreshProcess([] {
        EXPECT_EQ(Solvane_TriggerCapture(), 0);
        const Journal journal = TakeJournal();
        const Journal selection = Entries(Log(kChecking)) + FindOneChip() + OpenAndInitialise();
        EXPECT_EQ(Journal(journal.begin(), journal.begin() + static_cast<long>(selection.size())),
                  selection);
        EXPECT_THAT(journal, Contains(Log("... succeeded!")));
        EXPECT_EQ(journal.back(), "timeEndPeriod(1)");
        EXPECT_EQ(rig_captures(), 1u);
    });
}

TEST_F(LibraryTest, WithoutHardwareEveryOperationIsTheUsbControllersMinusThree) {
    InFreshProcess([] {
        Load("");
        EXPECT_EQ(Solvane_CheckAvailable(), -3);
        EXPECT_EQ(TakeJournal(),
                  Entries(Log(kChecking)) + FindNoChip() +
                      Entries(Log("Configure() result: -3"), Log("... not available. Error -3")) +
                      FindNoChip() + Entries(Log("Configure() result: -3")));
        std::int16_t out = 55;
        EXPECT_EQ(Solvane_CheckSystemReady(&out), -3);
        EXPECT_EQ(Solvane_CheckSystemReady(nullptr), -3);
        EXPECT_EQ(out, 55);
        EXPECT_EQ(Solvane_TriggerCapture(), -3);
        EXPECT_EQ(Solvane_CheckPowerControlAvailable(), -3);
        EXPECT_EQ(Solvane_ResetComPort(), -3);
        EXPECT_EQ(Solvane_CloseDevice(), 0);
        EXPECT_EQ(Solvane_RecheckStatus(), -3);
    });
}

TEST_F(LibraryTest, AChipPluggedInLaterIsFoundByTheNextOperation) {
    InFreshProcess([] {
        Load("");
        EXPECT_EQ(Solvane_TriggerCapture(), -3);
        Load(kUsbCamera);
        EXPECT_EQ(Solvane_TriggerCapture(), 0);
        EXPECT_EQ(rig_captures(), 1u);
    });
}

TEST_F(LibraryTest, EnforceFtdiClosesTheChipAndOpensItAgain) {
    InFreshProcess([] {
        EXPECT_EQ(Solvane_CheckAvailable(), 0);
        TakeJournal();
        Solvane_EnforceFTDI();
        const Journal journal = TakeJournal();
        EXPECT_EQ(journal[0], Log("Closing device..."));
        EXPECT_EQ(journal[1], "FT_Close(SLV1B) -> 0");
        EXPECT_EQ(journal[2], Log(kChecking));
        EXPECT_EQ(journal.back(), Log("... succeeded!"));
        EXPECT_EQ(Solvane_TriggerCapture(), 0);
    });
}

TEST_F(LibraryTest, WithoutALogFunctionOnlyTheCallsAreMade) {
    InFreshProcess([] {
        Solvane_SetLogger(nullptr, nullptr);
        EXPECT_EQ(Solvane_TriggerCapture(), 0);
        EXPECT_THAT(TakeLog(), IsEmpty());
        EXPECT_EQ(rig_captures(), 1u);
    });
}

TEST_F(LibraryTest, EveryLineIsStamped) {
    InFreshProcess([] {
        Solvane_TriggerCapture();
        EXPECT_THAT(TakeLog(), Each(testing::Not(testing::StartsWith("["))));
    });
}

} // namespace
