/// The library as a host meets it, over the real candidates on the rig.

#define SOLVANE_NO_IMPORT
#include <solvane/solvane.h>

#include "chip_on_the_rig.h"
#include "fresh_process.h"
#include "selection_on_the_rig.h"

namespace {

using namespace test;
using testing::Contains;
using testing::IsEmpty;

class LibraryTest : public OnTheRig {
  protected:
    LibraryTest() { Solvane_SetLogger(nullptr, LogToJournal); }
};

TEST_F(LibraryTest, TheFirstTriggerFindsConfiguresAndTriggers) {
    InFreshProcess([] {
        EXPECT_EQ(Solvane_TriggerCapture(), 0);
        const Journal journal = TakeJournal();
        const Journal selection =
            TryAllBeforeUsb() + Entries(kChecking) + FindOneChip() + OpenAndInitialise();
        EXPECT_EQ(Journal(journal.begin(), journal.begin() + static_cast<long>(selection.size())),
                  selection);
        EXPECT_THAT(journal, Contains(kSucceeded));
        EXPECT_EQ(journal.back(), "timeEndPeriod(1)");
        EXPECT_EQ(rig_captures(), 1u);
    });
}

TEST_F(LibraryTest, WithoutHardwareEveryOperationIsTheUsbControllersMinusThree) {
    InFreshProcess([] {
        Load("");
        EXPECT_EQ(Solvane_CheckAvailable(), -3);
        EXPECT_EQ(TakeJournal(), TryAllBeforeUsb() + Entries(kChecking) + FindNoChip() +
                                     Entries(Log("Configure() result: -3"), kNotAvailable) +
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
        EXPECT_EQ(journal[2], kChecking);
        EXPECT_EQ(journal.back(), kSucceeded);
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

/// Every subset of the hardware: the first of the fixed order serves the host.
TEST_F(LibraryTest, TheFirstKindThatIsThereServes) {
    const struct {
        const char* scenario;
        const char* function; ///< only this kind calls it once it serves
    } kinds[] = {{kLptCamera, "Inp32"},
                 {kSuperIoCamera, "Inp32"},
                 {kEapiCamera, "EApiGPIOSetLevel"},
                 {kUsbCamera, "FT_Write"}};
    for (unsigned present = 0; present < 16; ++present) {
        SCOPED_TRACE(present);
        InFreshProcess([&] {
            std::string scenario;
            std::string serving;
            for (unsigned kind = 0; kind < 4; ++kind) {
                if ((present >> kind & 1) != 0) {
                    scenario += kinds[kind].scenario;
                    serving = serving.empty() ? kinds[kind].function : serving;
                }
            }
            Load(scenario);
            const short expected = present != 0 ? 0 : -3;
            EXPECT_EQ(Solvane_CheckAvailable(), expected);
            for (const auto& kind : kinds) {
                EXPECT_EQ(rig_calls(kind.function) != 0, serving == kind.function) << kind.function;
            }
            EXPECT_EQ(Solvane_TriggerCapture(), expected);
            EXPECT_EQ(rig_captures(), present != 0 ? 1u : 0u);
            const std::uint32_t searches = rig_calls("IWbemLocator::ConnectServer");
            EXPECT_EQ(Solvane_RecheckStatus(), expected);
            EXPECT_EQ(rig_calls("IWbemLocator::ConnectServer"), searches + 1)
                << "a recheck begins with the first kind";
            Solvane_EnforceFTDI();
            EXPECT_EQ(Solvane_CheckAvailable(), (present & 8) != 0 ? 0 : -3);
        });
    }
}

} // namespace
