/// Every operation on both mainboards: what the pins are asked, in which order, and what fails.

#include "solvane_mobo.h"

#include <algorithm>

#include "boards.h"
#include "controller_operations.h"

namespace {

using namespace SLV::Internal;
using namespace test;
using testing::IsEmpty;

constexpr short kUntouched = 0x5A5A;

struct Case {
    const char* name;
    std::unique_ptr<Board> (*make)();
};

std::ostream& operator<<(std::ostream& stream, const Case& board) {
    return stream << board.name;
}

/// A controller that is configured, with the lines at rest.
class MoBoTest : public OnTheRig, public testing::WithParamInterface<Case> {
  protected:
    MoBoTest() { Start(); }

    /// A fresh board and a configured controller.
    void Start(const std::string& camera = "") {
        StartUnconfigured(camera);
        EXPECT_EQ(mobo->CheckAvailable(), 0);
        board->Configuration();
        board->Expected(RestSteps());
        board->SetInputs(rig_level(RIG_READY) != 0, rig_level(RIG_MEP) != 0);
        mobo->CheckSystemReady(&out); // what the inputs are is known, and no dots are pending
        logger.Flush();
        board->Expected({Get(Ready_Pin)});
        board->Log("");
        out = kUntouched;
        TakeJournal();
    }

    void StartUnconfigured(const std::string& camera = "") {
        mobo.reset();
        Load(board->Scenario() + "[camera]\n" + camera);
        mobo = board->Make(logger);
        TakeJournal();
    }

    /// Camera and accessories on, dark off, trigger low.
    Steps RestSteps() const {
        return {Set(PowerDown2_Pin, board->PowerOn()), Set(PowerDown3_Pin, board->PowerOn()),
                Set(ForceDark_Pin, 0), Set(Trigger_Pin, 0)};
    }

    /// Runs an operation in which steps may fail, and compares everything that it did.
    void Expect(short status, const std::function<short()>& operation, const Steps& steps) {
        board->Plan(steps);
        const Journal expected = board->Expected(steps);
        EXPECT_EQ(operation(), status);
        EXPECT_EQ(TakeJournal(), expected);
    }

    std::unique_ptr<Board> board = GetParam().make();
    std::unique_ptr<SolvaneMoBo> mobo;
    short out = kUntouched;
};

// ---- CheckAvailable ----

TEST_P(MoBoTest, TheFirstCheckConfiguresAndSetsTheLinesToRest) {
    StartUnconfigured();
    EXPECT_EQ(mobo->CheckAvailable(), 0);
    const Journal configuration = board->Configuration();
    EXPECT_EQ(TakeJournal(), configuration + Entries(board->Log("[MOBO]: Configure() result: 0")) +
                                 board->Expected(RestSteps()));
    EXPECT_EQ(mobo->CheckAvailable(), 0);
    EXPECT_THAT(TakeJournal(), IsEmpty());
}

TEST_P(MoBoTest, AFailedConfigurationIsMinusThreeAndTriedAgainByTheNextOperation) {
    StartUnconfigured();
    Load("");
    mobo = board->Make(logger);
    TakeJournal();
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(mobo->EnableCameraPower(), -3);
        EXPECT_EQ(TakeLog().back(), "[MOBO]: Configure() result: -3");
    }
    EXPECT_EQ(rig_calls("EApiGPIOSetLevel"), 0u);
    EXPECT_EQ(rig_calls("Out32"), 0u);
}

TEST_P(MoBoTest, ALineThatCannotBeSetToRestIsReportedOnce) {
    const char* const lines[] = {
        "[MOBO]: Solvane_EnableCameraPower() failed with error  -2",
        "[MOBO]: Solvane_EnableAccessoriesPower() failed with error  -2",
        "[MOBO]: Solvane_DisableForcedBlackUpdate() failed with error  -2",
        "[MOBO]: Solvane_DisableForcedBlackUpdate() failed with error  0", // the trigger, on
                                                                           // purpose
    };
    for (std::size_t failing = 0; failing < 4; ++failing) {
        StartUnconfigured();
        board->AccessoriesFlag() = 0;
        Steps steps = RestSteps();
        steps.resize(failing + 1);
        steps.back().fails = true;
        board->Plan(steps, true);
        const Journal configuration = board->Configuration();
        const Journal expected = Entries(board->Log("[MOBO]: Configure() result: 0")) +
                                 board->Expected(steps) + Entries(board->Log(lines[failing]));
        EXPECT_EQ(mobo->CheckAvailable(), -2);
        EXPECT_EQ(TakeJournal(), configuration + expected);
        EXPECT_EQ(mobo->CheckAvailable(), 0) << "it counts as configured";
        EXPECT_THAT(TakeJournal(), IsEmpty());
        EXPECT_EQ(board->AccessoriesFlag(), failing > 1 ? 1 : 0);
    }
}

// ---- The gate ----

/// Those that see to it that the board is there, and more.
std::vector<Operation> GatedOperations() {
    std::vector<Operation> gated;
    std::ranges::copy_if(kControllerOperations, std::back_inserter(gated),
                         [](const Operation& operation) {
                             return operation.IsGated() && operation.op != Op::CheckAvailable;
                         });
    EXPECT_EQ(gated.size(), 14u);
    return gated;
}

TEST_P(MoBoTest, WithoutTheBoardEveryOperationIsMinusThreeEvenWithANullPointer) {
    StartUnconfigured();
    Load("");
    mobo = board->Make(logger);
    for (const Operation& operation : GatedOperations()) {
        for (short* const pointer : {&out, static_cast<short*>(nullptr)}) {
            TakeJournal();
            EXPECT_EQ(operation.run(*mobo, pointer), -3) << operation.name;
            EXPECT_EQ(TakeLog().back(), "[MOBO]: Configure() result: -3") << operation.name;
            EXPECT_EQ(out, kUntouched) << operation.name;
        }
    }
}

TEST_P(MoBoTest, EveryOperationMayBeTheFirst) {
    for (const Operation& operation : GatedOperations()) {
        StartUnconfigured();
        EXPECT_EQ(operation.run(*mobo, &out), 0) << operation.name;
        EXPECT_THAT(TakeJournal(), testing::Contains(testing::EndsWith("Configure() result: 0")))
            << operation.name;
    }
}

TEST_P(MoBoTest, ANullPointerIsMinusFourAfterTheGateAndTouchesNoPin) {
    for (const Operation& operation : GatedOperations()) {
        if (operation.hasAnswer) {
            EXPECT_EQ(operation.run(*mobo, nullptr), -4) << operation.name;
            EXPECT_THAT(TakeJournal(), IsEmpty()) << operation.name;
        }
    }
}

TEST_P(MoBoTest, ClosingAndResettingThePortDoNothingWhateverTheState) {
    EXPECT_EQ(mobo->CloseDevice(), 0);
    EXPECT_EQ(mobo->ResetComPort(), 0);
    StartUnconfigured();
    EXPECT_EQ(mobo->CloseDevice(), 0);
    EXPECT_EQ(mobo->ResetComPort(), 0);
    EXPECT_THAT(TakeJournal(), IsEmpty());
}

TEST_P(MoBoTest, PowerControlIsAvailableWhenTheBoardIs) {
    EXPECT_EQ(mobo->CheckPowerControlAvailable(), 0);
    EXPECT_THAT(TakeJournal(), IsEmpty());
}

// ---- TriggerCapture ----

TEST_P(MoBoTest, TriggerPulsesTheTriggerPinForTenMilliseconds) {
    Expect(0, [&] { return mobo->TriggerCapture(); },
           {Get(Ready_Pin), Do("timeBeginPeriod(1)"), Get(Mep_Pin), Set(Trigger_Pin, 1),
            Do("Sleep(10)"), Set(Trigger_Pin, 0), Do("timeEndPeriod(1)")});
    EXPECT_EQ(rig_captures(), 1u);
}

TEST_P(MoBoTest, TheFirstTriggerConfiguresAndTriggers) {
    StartUnconfigured();
    EXPECT_EQ(mobo->TriggerCapture(), 0);
    EXPECT_EQ(TakeEdges(), Entries("trigger 1", "ready 0", "trigger 0"));
}

TEST_P(MoBoTest, TriggerIsRefusedWhileNotReadyAndTouchesNothing) {
    rig_force(RIG_READY, 0);
    board->SetInputs(false, false);
    TakeEdges();
    Expect(-5, [&] { return mobo->TriggerCapture(); }, {Get(Ready_Pin)});
    EXPECT_THAT(TakeEdges(), IsEmpty());
}

TEST_P(MoBoTest, TriggerIsRefusedWhenReadyCannotBeRead) {
    Expect(-5, [&] { return mobo->TriggerCapture(); }, {Failing(Get(Ready_Pin))});
}

TEST_P(MoBoTest, TriggerClearsALatchedFlagFirst) {
    Start("mep_latched = true");
    Expect(0, [&] { return mobo->TriggerCapture(); },
           {Get(Ready_Pin), Do("timeBeginPeriod(1)"), Get(Mep_Pin), Set(Clear_Mep_Pin, 0),
            Do("Sleep(0)"), Set(Clear_Mep_Pin, 1), Set(Trigger_Pin, 1), Do("Sleep(10)"),
            Set(Trigger_Pin, 0), Do("timeEndPeriod(1)")});
}

TEST_P(MoBoTest, TriggerGoesOnWhenTheClearingPulseFails) {
    Start("mep_latched = true");
    Expect(0, [&] { return mobo->TriggerCapture(); },
           {Get(Ready_Pin), Do("timeBeginPeriod(1)"), Get(Mep_Pin), Failing(Set(Clear_Mep_Pin, 0)),
            Set(Trigger_Pin, 1), Do("Sleep(10)"), Set(Trigger_Pin, 0), Do("timeEndPeriod(1)")});
    Start("mep_latched = true");
    Expect(0, [&] { return mobo->TriggerCapture(); },
           {Get(Ready_Pin), Do("timeBeginPeriod(1)"), Get(Mep_Pin), Set(Clear_Mep_Pin, 0),
            Do("Sleep(0)"), Failing(Set(Clear_Mep_Pin, 1)), Set(Trigger_Pin, 1), Do("Sleep(10)"),
            Set(Trigger_Pin, 0), Do("timeEndPeriod(1)")});
}

TEST_P(MoBoTest, AFlagThatCannotBeReadIsNotCleared) {
    Start("mep_latched = true");
    Expect(0, [&] { return mobo->TriggerCapture(); },
           {Get(Ready_Pin), Do("timeBeginPeriod(1)"), Failing(Get(Mep_Pin)), Set(Trigger_Pin, 1),
            Do("Sleep(10)"), Set(Trigger_Pin, 0), Do("timeEndPeriod(1)")});
}

TEST_P(MoBoTest, ATriggerThatCannotBeRaisedIsMinusTwoWithoutAPulse) {
    Expect(-2, [&] { return mobo->TriggerCapture(); },
           {Get(Ready_Pin), Do("timeBeginPeriod(1)"), Get(Mep_Pin), Failing(Set(Trigger_Pin, 1)),
            Do("timeEndPeriod(1)")});
}

TEST_P(MoBoTest, ATriggerThatCannotBeLoweredIsMinusTwo) {
    Expect(-2, [&] { return mobo->TriggerCapture(); },
           {Get(Ready_Pin), Do("timeBeginPeriod(1)"), Get(Mep_Pin), Set(Trigger_Pin, 1),
            Do("Sleep(10)"), Failing(Set(Trigger_Pin, 0)), Do("timeEndPeriod(1)")});
}

// ---- The MEP flag ----

TEST_P(MoBoTest, AFlagThatIsNotLatchedIsZeroWithoutAPulse) {
    Expect(0, [&] { return mobo->CheckAndResetMepFlag(&out); }, {Get(Mep_Pin)});
    EXPECT_EQ(out, 0);
}

TEST_P(MoBoTest, ALatchedFlagIsOneAndClearedWithOnePulse) {
    Start("mep_latched = true");
    Expect(0, [&] { return mobo->CheckAndResetMepFlag(&out); },
           {Get(Mep_Pin), Do("timeBeginPeriod(1)"), Set(Clear_Mep_Pin, 0), Do("Sleep(0)"),
            Set(Clear_Mep_Pin, 1), Do("timeEndPeriod(1)")});
    EXPECT_EQ(out, 1);
    EXPECT_EQ(mobo->CheckAndResetMepFlag(&out), 0);
    EXPECT_EQ(out, 0) << "the latch let go";
}

TEST_P(MoBoTest, ALatchedFlagIsOneEvenWhenItsPulseFails) {
    Start("mep_latched = true");
    Expect(0, [&] { return mobo->CheckAndResetMepFlag(&out); },
           {Get(Mep_Pin), Do("timeBeginPeriod(1)"), Failing(Set(Clear_Mep_Pin, 0)),
            Do("timeEndPeriod(1)")});
    EXPECT_EQ(out, 1);
    Start("mep_latched = true");
    Expect(0, [&] { return mobo->CheckAndResetMepFlag(&out); },
           {Get(Mep_Pin), Do("timeBeginPeriod(1)"), Set(Clear_Mep_Pin, 0), Do("Sleep(0)"),
            Failing(Set(Clear_Mep_Pin, 1)), Do("timeEndPeriod(1)")});
    EXPECT_EQ(out, 1);
}

TEST_P(MoBoTest, AFlagIsZeroUntilItsPulseHasBeenGiven) {
    static std::vector<short> seen;
    seen.clear();
    Start("mep_latched = true");
    board->Plan({Get(Mep_Pin), Failing(Set(Clear_Mep_Pin, 0))});
    logger.Install(
        &out, [](void* flag, const char*) { seen.push_back(*static_cast<const short*>(flag)); });
    EXPECT_EQ(mobo->CheckAndResetMepFlag(&out), 0);
    EXPECT_EQ(out, 1);
    EXPECT_THAT(seen, testing::Not(IsEmpty())) << "the failure is logged";
    EXPECT_THAT(seen, testing::Each(0));
    logger.Install(nullptr, LogToJournal);
}

TEST_P(MoBoTest, AFlagThatCannotBeReadIsZero) {
    Start("mep_latched = true");
    Expect(0, [&] { return mobo->CheckAndResetMepFlag(&out); }, {Failing(Get(Mep_Pin))});
    EXPECT_EQ(out, 0);
}

// ---- Ready and dark ----

TEST_P(MoBoTest, ReadyFollowsItsPin) {
    Expect(0, [&] { return mobo->CheckSystemReady(&out); }, {Get(Ready_Pin)});
    EXPECT_EQ(out, 1);
    rig_force(RIG_READY, 0);
    board->SetInputs(false, false);
    Expect(0, [&] { return mobo->CheckSystemReady(&out); }, {Get(Ready_Pin)});
    EXPECT_EQ(out, 0);
}

TEST_P(MoBoTest, AReadyThatCannotBeReadIsNo) {
    Expect(0, [&] { return mobo->CheckSystemReady(&out); }, {Failing(Get(Ready_Pin))});
    EXPECT_EQ(out, 0);
}

TEST_P(MoBoTest, DarkIsSwitchedAndReadBackFromItsOutput) {
    Expect(0, [&] { return mobo->EnableForcedBlackUpdate(); }, {Set(ForceDark_Pin, 1)});
    EXPECT_EQ(rig_level(RIG_DARK), 1);
    Expect(0, [&] { return mobo->CheckForcedBlackUpdate(&out); }, {Get(ForceDark_Pin)});
    EXPECT_EQ(out, 1);
    Expect(0, [&] { return mobo->DisableForcedBlackUpdate(); }, {Set(ForceDark_Pin, 0)});
    EXPECT_EQ(rig_level(RIG_DARK), 0);
    Expect(0, [&] { return mobo->CheckForcedBlackUpdate(&out); }, {Get(ForceDark_Pin)});
    EXPECT_EQ(out, 0);
}

TEST_P(MoBoTest, ADarkLineThatCannotBeReadIsOffAndOneThatCannotBeDrivenIsMinusTwo) {
    mobo->EnableForcedBlackUpdate();
    board->Expected({Set(ForceDark_Pin, 1)});
    TakeJournal();
    Expect(0, [&] { return mobo->CheckForcedBlackUpdate(&out); }, {Failing(Get(ForceDark_Pin))});
    EXPECT_EQ(out, 0);
    Expect(-2, [&] { return mobo->EnableForcedBlackUpdate(); }, {Failing(Set(ForceDark_Pin, 1))});
    Expect(-2, [&] { return mobo->DisableForcedBlackUpdate(); }, {Failing(Set(ForceDark_Pin, 0))});
}

// ---- WakeCamera ----

TEST_P(MoBoTest, WakePulsesTheDarkPinUpWithoutFineTiming) {
    Expect(0, [&] { return mobo->WakeCamera(); },
           {Get(ForceDark_Pin), Set(ForceDark_Pin, 1), Do("Sleep(10)"), Set(ForceDark_Pin, 0)});
}

TEST_P(MoBoTest, WakeWhileDarkIsOnPulsesDownAndLeavesItOn) {
    mobo->EnableForcedBlackUpdate();
    board->Expected({Set(ForceDark_Pin, 1)});
    TakeJournal();
    Expect(0, [&] { return mobo->WakeCamera(); },
           {Get(ForceDark_Pin), Set(ForceDark_Pin, 0), Do("Sleep(10)"), Set(ForceDark_Pin, 1)});
    EXPECT_EQ(rig_level(RIG_DARK), 1);
}

TEST_P(MoBoTest, WakeTakesADarkLineThatCannotBeReadForOff) {
    mobo->EnableForcedBlackUpdate();
    board->Expected({Set(ForceDark_Pin, 1)});
    TakeJournal();
    Expect(0, [&] { return mobo->WakeCamera(); },
           {Failing(Get(ForceDark_Pin)), Set(ForceDark_Pin, 1), Do("Sleep(10)"),
            Set(ForceDark_Pin, 0)});
}

TEST_P(MoBoTest, AWakeThatCannotBeginDoesNotWait) {
    Expect(-2, [&] { return mobo->WakeCamera(); },
           {Get(ForceDark_Pin), Failing(Set(ForceDark_Pin, 1))});
}

TEST_P(MoBoTest, AWakeThatCannotEndIsMinusTwo) {
    Expect(-2, [&] { return mobo->WakeCamera(); },
           {Get(ForceDark_Pin), Set(ForceDark_Pin, 1), Do("Sleep(10)"),
            Failing(Set(ForceDark_Pin, 0))});
}

// ---- Power ----

TEST_P(MoBoTest, CameraPowerIsSwitchedAndReadBackFromItsStatusPin) {
    Expect(0, [&] { return mobo->DisableCameraPower(); }, {Set(PowerDown2_Pin, board->PowerOff())});
    EXPECT_EQ(rig_level(RIG_CAMERA_POWER), 0);
    Expect(0, [&] { return mobo->CheckCameraPower(&out); }, {Get(PowerDown2Status_Pin)});
    EXPECT_EQ(out, 0);
    Expect(0, [&] { return mobo->EnableCameraPower(); }, {Set(PowerDown2_Pin, board->PowerOn())});
    EXPECT_EQ(rig_level(RIG_CAMERA_POWER), 1);
    Expect(0, [&] { return mobo->CheckCameraPower(&out); }, {Get(PowerDown2Status_Pin)});
    EXPECT_EQ(out, 1);
}

/// Power-down lines that cannot be read are taken for powered, active-high ones for off.
TEST_P(MoBoTest, CameraPowerThatCannotBeReadIsTheBoardsOwnAnswer) {
    const short answer = board->PowerOn() == 0 ? 1 : 0;
    for (const auto power : {&SolvaneMoBo::EnableCameraPower, &SolvaneMoBo::DisableCameraPower}) {
        Start();
        (mobo.get()->*power)();
        logger.Flush();
        board->Log("");
        TakeJournal();
        board->Plan({Failing(Get(PowerDown2Status_Pin))});
        EXPECT_EQ(mobo->CheckCameraPower(&out), 0);
        EXPECT_EQ(out, answer);
    }
}

TEST_P(MoBoTest, PowerThatCannotBeSwitchedIsMinusTwo) {
    Expect(-2, [&] { return mobo->DisableCameraPower(); },
           {Failing(Set(PowerDown2_Pin, board->PowerOff()))});
    Expect(-2, [&] { return mobo->EnableCameraPower(); },
           {Failing(Set(PowerDown2_Pin, board->PowerOn()))});
    Expect(-2, [&] { return mobo->DisableAccessoriesPower(); },
           {Failing(Set(PowerDown3_Pin, board->PowerOff()))});
    Expect(-2, [&] { return mobo->EnableAccessoriesPower(); },
           {Failing(Set(PowerDown3_Pin, board->PowerOn()))});
}

TEST_P(MoBoTest, AccessoriesPowerIsRememberedAndNoPinIsRead) {
    EXPECT_EQ(mobo->CheckAccessoriesPower(&out), 0);
    EXPECT_EQ(out, 1);
    EXPECT_THAT(TakeJournal(), IsEmpty());
    Expect(0, [&] { return mobo->DisableAccessoriesPower(); },
           {Set(PowerDown3_Pin, board->PowerOff())});
    EXPECT_EQ(rig_level(RIG_ACCESSORIES_POWER), 0);
    EXPECT_EQ(mobo->CheckAccessoriesPower(&out), 0);
    EXPECT_EQ(out, 0);
    EXPECT_THAT(TakeJournal(), IsEmpty());
    Expect(0, [&] { return mobo->EnableAccessoriesPower(); },
           {Set(PowerDown3_Pin, board->PowerOn())});
    EXPECT_EQ(rig_level(RIG_ACCESSORIES_POWER), 1);
    EXPECT_EQ(mobo->CheckAccessoriesPower(&out), 0);
    EXPECT_EQ(out, 1);
}

TEST_P(MoBoTest, AnAccessoriesCommandThatFailedIsNotRemembered) {
    board->Plan({Failing(Set(PowerDown3_Pin, 0))});
    EXPECT_EQ(mobo->DisableAccessoriesPower(), -2);
    mobo->CheckAccessoriesPower(&out);
    EXPECT_EQ(out, 1);
    EXPECT_EQ(mobo->DisableAccessoriesPower(), 0);
    board->Plan({Failing(Set(PowerDown3_Pin, 1))});
    EXPECT_EQ(mobo->EnableAccessoriesPower(), -2);
    mobo->CheckAccessoriesPower(&out);
    EXPECT_EQ(out, 0);
}

TEST_P(MoBoTest, TheAccessoriesCommandOutlivesTheController) {
    mobo->DisableAccessoriesPower();
    mobo.reset();
    EXPECT_EQ(board->AccessoriesFlag(), 0);
    mobo = board->Make(logger);
    EXPECT_EQ(mobo->CheckAccessoriesPower(&out), 0);
    EXPECT_EQ(out, 1) << "the gate of a new controller switches them on";
    mobo.reset();
    EXPECT_EQ(board->AccessoriesFlag(), 1);
}

TEST_P(MoBoTest, AFirstQuestionAfterAFailedAccessoriesWriteReportsTheLoadTimeValue) {
    StartUnconfigured();
    board->AccessoriesFlag() = 0;
    board->Plan({Set(PowerDown2_Pin, 0), Failing(Set(PowerDown3_Pin, 0))}, true);
    EXPECT_EQ(mobo->CheckAccessoriesPower(&out), -2);
    EXPECT_EQ(out, kUntouched);
    EXPECT_EQ(mobo->CheckAccessoriesPower(&out), 0);
    EXPECT_EQ(out, 0);
}

INSTANTIATE_TEST_SUITE_P(OnBothBoards, MoBoTest,
                         testing::Values(Case{"Eapi", MakeEapiBoard},
                                         Case{"SuperIo", MakeSuperIoBoard}),
                         [](const auto& board) { return std::string(board.param.name); });

} // namespace
