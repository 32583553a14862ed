/// Every operation of the real DLL, by what the camera sees of it.

#include "library_fixture.h"

namespace {

using namespace test;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

class Operations : public OnTheRig {
  protected:
    Operations() {
        EXPECT_EQ(library.CheckAvailable(), 0);
        TakeEdges();
    }

    /// Another camera behind a library that already configured its chip.
    void StartWith(const std::string& camera) {
        library.CloseDevice();
        Load(std::string(kUsbCamera) + "[camera]\n" + camera + "\n");
        EXPECT_EQ(library.CheckAvailable(), 0);
        TakeEdges();
    }

    std::int16_t Ask(std::int16_t (*question)(std::int16_t*)) {
        std::int16_t answer = -1;
        EXPECT_EQ(question(&answer), 0);
        return answer;
    }
};

TEST_F(Operations, TriggerMakesOneCapture) {
    EXPECT_EQ(library.TriggerCapture(), 0);
    EXPECT_EQ(rig_captures(), 1u);
    EXPECT_THAT(TakeEdges(), ElementsAre("trigger 1", "ready 0", "trigger 0"));
}

TEST_F(Operations, TriggerIsRefusedWhileTheCameraExposes) {
    StartWith("exposure_ms = 400");
    EXPECT_EQ(library.TriggerCapture(), 0);
    EXPECT_EQ(library.TriggerCapture(), -5);
    EXPECT_EQ(Ask(library.CheckSystemReady), 0);
    EXPECT_EQ(rig_captures(), 1u);
}

TEST_F(Operations, TriggerClearsTheFlagOfTheCaptureBefore) {
    StartWith("mep_latched = true");
    EXPECT_EQ(library.TriggerCapture(), 0);
    EXPECT_THAT(TakeEdges(), ElementsAre("clear_mep 1", "mep 0", "clear_mep 0", "trigger 1",
                                         "ready 0", "trigger 0"));
}

TEST_F(Operations, TheFlagLatchesAfterACaptureAndIsClearedByAskingForIt) {
    StartWith("exposure_ms = 5");
    EXPECT_EQ(Ask(library.CheckAndResetMepFlag), 0);
    EXPECT_EQ(library.TriggerCapture(), 0);
    Sleep(20);
    EXPECT_EQ(Ask(library.CheckAndResetMepFlag), 1);
    EXPECT_EQ(Ask(library.CheckAndResetMepFlag), 0);
}

TEST_F(Operations, ReadyFollowsTheCamera) {
    EXPECT_EQ(Ask(library.CheckSystemReady), 1);
    rig_force(RIG_READY, 0);
    EXPECT_EQ(Ask(library.CheckSystemReady), 0);
}

TEST_F(Operations, DarkIsSwitchedAndReadBack) {
    EXPECT_EQ(Ask(library.CheckForcedBlackUpdate), 0);
    EXPECT_EQ(library.EnableForcedBlackUpdate(), 0);
    EXPECT_EQ(Ask(library.CheckForcedBlackUpdate), 1);
    EXPECT_EQ(library.DisableForcedBlackUpdate(), 0);
    EXPECT_EQ(Ask(library.CheckForcedBlackUpdate), 0);
    EXPECT_THAT(TakeEdges(), ElementsAre("dark 1", "dark 0"));
}

TEST_F(Operations, CameraPowerIsSwitchedAndReadBack) {
    StartWith("ready_after_power_ms = 0");
    EXPECT_EQ(Ask(library.CheckCameraPower), 1);
    EXPECT_EQ(library.DisableCameraPower(), 0);
    EXPECT_EQ(Ask(library.CheckCameraPower), 0);
    EXPECT_EQ(library.TriggerCapture(), -5) << "a camera without power is not ready";
    EXPECT_EQ(library.EnableCameraPower(), 0);
    EXPECT_EQ(Ask(library.CheckCameraPower), 1);
    EXPECT_EQ(library.TriggerCapture(), 0);
}

TEST_F(Operations, AccessoriesPowerIsSwitchedAndReadBack) {
    EXPECT_EQ(Ask(library.CheckAccessoriesPower), 1);
    EXPECT_EQ(library.DisableAccessoriesPower(), 0);
    EXPECT_EQ(Ask(library.CheckAccessoriesPower), 0);
    EXPECT_EQ(library.EnableAccessoriesPower(), 0);
    EXPECT_EQ(Ask(library.CheckAccessoriesPower), 1);
    EXPECT_THAT(TakeEdges(), ElementsAre("accessories_power 0", "accessories_power 1"));
}

TEST_F(Operations, WakePulsesTheDarkLineAgainstItsLevel) {
    EXPECT_EQ(library.WakeCamera(), 0);
    EXPECT_THAT(TakeEdges(), ElementsAre("dark 1", "dark 0"));
    EXPECT_EQ(library.EnableForcedBlackUpdate(), 0);
    EXPECT_EQ(library.WakeCamera(), 0);
    EXPECT_THAT(TakeEdges(), ElementsAre("dark 1", "dark 0", "dark 1"));
}

TEST_F(Operations, WakeWakesASleepingCamera) {
    StartWith("asleep = true");
    EXPECT_EQ(library.TriggerCapture(), -5);
    EXPECT_EQ(library.WakeCamera(), 0);
    EXPECT_EQ(library.TriggerCapture(), 0);
}

TEST_F(Operations, ANullPointerIsMinusFour) {
    for (const auto question :
         {library.CheckSystemReady, library.CheckAndResetMepFlag, library.CheckForcedBlackUpdate,
          library.CheckCameraPower, library.CheckAccessoriesPower}) {
        EXPECT_EQ(question(nullptr), -4);
    }
}

TEST_F(Operations, PowerControlIsAvailableWithTheChip) {
    EXPECT_EQ(library.CheckPowerControlAvailable(), 0);
}

TEST_F(Operations, ClosingKeepsTheLinesAndTheNextOperationOpensAgain) {
    EXPECT_EQ(library.EnableForcedBlackUpdate(), 0);
    EXPECT_EQ(library.CloseDevice(), 0);
    EXPECT_EQ(rig_level(RIG_DARK), 1);
    EXPECT_EQ(library.CloseDevice(), 0);
    EXPECT_EQ(library.TriggerCapture(), 0);
}

TEST_F(Operations, ResettingTheComPortTouchesNoLine) {
    EXPECT_EQ(library.ResetComPort(), 0);
    EXPECT_THAT(TakeEdges(), IsEmpty());
    EXPECT_EQ(library.TriggerCapture(), 0);
}

TEST_F(Operations, RecheckAndEnforceFindTheChipAgain) {
    EXPECT_EQ(library.RecheckStatus(), 0);
    library.EnforceFTDI();
    EXPECT_EQ(library.CheckAvailable(), 0);
    EXPECT_THAT(TakeEdges(), Not(Contains("trigger 1")));
}

TEST_F(Operations, WithoutHardwareEveryOperationIsMinusThree) {
    library.CloseDevice();
    Load("");
    std::int16_t answer = 99;
    EXPECT_EQ(library.CheckAvailable(), -3);
    EXPECT_EQ(library.CheckPowerControlAvailable(), -3);
    EXPECT_EQ(library.TriggerCapture(), -3);
    EXPECT_EQ(library.WakeCamera(), -3);
    EXPECT_EQ(library.EnableForcedBlackUpdate(), -3);
    EXPECT_EQ(library.DisableForcedBlackUpdate(), -3);
    EXPECT_EQ(library.EnableCameraPower(), -3);
    EXPECT_EQ(library.DisableCameraPower(), -3);
    EXPECT_EQ(library.EnableAccessoriesPower(), -3);
    EXPECT_EQ(library.DisableAccessoriesPower(), -3);
    for (const auto question :
         {library.CheckSystemReady, library.CheckAndResetMepFlag, library.CheckForcedBlackUpdate,
          library.CheckCameraPower, library.CheckAccessoriesPower}) {
        EXPECT_EQ(question(&answer), -3);
        EXPECT_EQ(question(nullptr), -3);
    }
    EXPECT_EQ(answer, 99);
    EXPECT_EQ(library.RecheckStatus(), -3);
    EXPECT_EQ(library.ResetComPort(), -3);
    EXPECT_EQ(library.CloseDevice(), 0);
}

} // namespace
