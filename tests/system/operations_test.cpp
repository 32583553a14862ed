/// Every operation of the real DLL, by what the camera sees of it.

#include "library_fixture.h"

namespace {

using namespace test;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

/// The same table of operations on every kind of hardware: what a host sees is the same camera.
class Operations : public OnTheRig, public testing::WithParamInterface<const char*> {
  protected:
    Operations() { StartWith(""); }

    /// Another camera behind the same kind of hardware.
    void StartWith(const std::string& camera) {
        Load(std::string(GetParam()) + "[camera]\n" + camera + "\n");
        EXPECT_EQ(library.RecheckStatus(), 0);
        TakeEdges();
    }

    std::int16_t Ask(std::int16_t (*question)(std::int16_t*)) {
        std::int16_t answer = -1;
        EXPECT_EQ(question(&answer), 0);
        return answer;
    }
};

TEST_P(Operations, TriggerMakesOneCapture) {
    EXPECT_EQ(library.TriggerCapture(), 0);
    EXPECT_EQ(rig_captures(), 1u);
    EXPECT_THAT(TakeEdges(), ElementsAre("trigger 1", "ready 0", "trigger 0"));
}

TEST_P(Operations, TriggerIsRefusedWhileTheCameraExposes) {
    StartWith("exposure_ms = 400");
    EXPECT_EQ(library.TriggerCapture(), 0);
    EXPECT_EQ(library.TriggerCapture(), -5);
    EXPECT_EQ(Ask(library.CheckSystemReady), 0);
    EXPECT_EQ(rig_captures(), 1u);
}

TEST_P(Operations, TriggerClearsTheFlagOfTheCaptureBefore) {
    StartWith("exposure_ms = 1");
    EXPECT_EQ(library.TriggerCapture(), 0);
    Sleep(10);
    TakeEdges();
    EXPECT_EQ(library.TriggerCapture(), 0);
    EXPECT_THAT(TakeEdges(), ElementsAre("clear_mep 1", "mep 0", "clear_mep 0", "trigger 1",
                                         "ready 0", "mep 1", "ready 1", "trigger 0"));
}

TEST_P(Operations, TheFlagLatchesAfterACaptureAndIsClearedByAskingForIt) {
    StartWith("exposure_ms = 5");
    EXPECT_EQ(Ask(library.CheckAndResetMepFlag), 0);
    EXPECT_EQ(library.TriggerCapture(), 0);
    Sleep(20);
    EXPECT_EQ(Ask(library.CheckAndResetMepFlag), 1);
    EXPECT_EQ(Ask(library.CheckAndResetMepFlag), 0);
}

TEST_P(Operations, ReadyFollowsTheCamera) {
    EXPECT_EQ(Ask(library.CheckSystemReady), 1);
    rig_force(RIG_READY, 0);
    EXPECT_EQ(Ask(library.CheckSystemReady), 0);
}

TEST_P(Operations, DarkIsSwitchedAndReadBack) {
    EXPECT_EQ(Ask(library.CheckForcedBlackUpdate), 0);
    EXPECT_EQ(library.EnableForcedBlackUpdate(), 0);
    EXPECT_EQ(Ask(library.CheckForcedBlackUpdate), 1);
    EXPECT_EQ(library.DisableForcedBlackUpdate(), 0);
    EXPECT_EQ(Ask(library.CheckForcedBlackUpdate), 0);
    EXPECT_THAT(TakeEdges(), ElementsAre("dark 1", "dark 0"));
}

TEST_P(Operations, CameraPowerIsSwitchedAndReadBack) {
    StartWith("ready_after_power_ms = 0");
    EXPECT_EQ(Ask(library.CheckCameraPower), 1);
    EXPECT_EQ(library.DisableCameraPower(), 0);
    EXPECT_EQ(Ask(library.CheckCameraPower), 0);
    EXPECT_EQ(library.TriggerCapture(), -5) << "a camera without power is not ready";
    EXPECT_EQ(library.EnableCameraPower(), 0);
    EXPECT_EQ(Ask(library.CheckCameraPower), 1);
    EXPECT_EQ(library.TriggerCapture(), 0);
}

TEST_P(Operations, AccessoriesPowerIsSwitchedAndReadBack) {
    EXPECT_EQ(Ask(library.CheckAccessoriesPower), 1);
    EXPECT_EQ(library.DisableAccessoriesPower(), 0);
    EXPECT_EQ(Ask(library.CheckAccessoriesPower), 0);
    EXPECT_EQ(library.EnableAccessoriesPower(), 0);
    EXPECT_EQ(Ask(library.CheckAccessoriesPower), 1);
    EXPECT_THAT(TakeEdges(), ElementsAre("accessories_power 0", "accessories_power 1"));
}

TEST_P(Operations, WakePulsesTheDarkLineAgainstItsLevel) {
    EXPECT_EQ(library.WakeCamera(), 0);
    EXPECT_THAT(TakeEdges(), ElementsAre("dark 1", "dark 0"));
    EXPECT_EQ(library.EnableForcedBlackUpdate(), 0);
    EXPECT_EQ(library.WakeCamera(), 0);
    EXPECT_THAT(TakeEdges(), ElementsAre("dark 1", "dark 0", "dark 1"));
}

TEST_P(Operations, WakeWakesASleepingCamera) {
    StartWith("asleep = true");
    EXPECT_EQ(library.TriggerCapture(), -5);
    EXPECT_EQ(library.WakeCamera(), 0);
    EXPECT_EQ(library.TriggerCapture(), 0);
}

TEST_P(Operations, ANullPointerIsMinusFour) {
    for (const auto question :
         {library.CheckSystemReady, library.CheckAndResetMepFlag, library.CheckForcedBlackUpdate,
          library.CheckCameraPower, library.CheckAccessoriesPower}) {
        EXPECT_EQ(question(nullptr), -4);
    }
}

TEST_P(Operations, PowerControlIsAvailableWithTheChip) {
    EXPECT_EQ(library.CheckPowerControlAvailable(), 0);
}

TEST_P(Operations, ClosingKeepsTheLinesAndTheNextOperationWorks) {
    EXPECT_EQ(library.EnableForcedBlackUpdate(), 0);
    EXPECT_EQ(library.CloseDevice(), 0);
    EXPECT_EQ(rig_level(RIG_DARK), 1);
    EXPECT_EQ(library.CloseDevice(), 0);
    EXPECT_EQ(library.TriggerCapture(), 0);
}

TEST_P(Operations, ResettingTheComPortTouchesNoLine) {
    EXPECT_EQ(library.ResetComPort(), 0);
    EXPECT_THAT(TakeEdges(), IsEmpty());
    EXPECT_EQ(library.TriggerCapture(), 0);
}

TEST_P(Operations, ARecheckFindsTheHardwareAgainWithoutATrigger) {
    EXPECT_EQ(library.RecheckStatus(), 0);
    EXPECT_THAT(TakeEdges(), Not(Contains("trigger 1")));
}

std::string NameOfKind(const testing::TestParamInfo<const char*>& kind) {
    const char* const names[] = {"FT2232H", "Eapi", "SuperIo", "Lpt"};
    return names[kind.index];
}

INSTANTIATE_TEST_SUITE_P(OnEveryKind, Operations,
                         testing::Values(kUsbCamera, kEapiCamera, kSuperIoCamera, kLptCamera),
                         NameOfKind);

} // namespace
