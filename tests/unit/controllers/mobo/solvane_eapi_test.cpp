#include "solvane_eapi.h"

#include <optional>
#include <stdexcept>

#include "on_the_rig.h"

namespace {

using namespace SLV::Internal;
using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;

const char* const kDirections[] = {
    "EApiGPIOSetDirection(0, 1, 0)", "EApiGPIOSetDirection(1, 1, 1)",
    "EApiGPIOSetDirection(2, 1, 1)", "EApiGPIOSetDirection(3, 1, 0)",
    "EApiGPIOSetDirection(4, 1, 0)", "EApiGPIOSetDirection(5, 1, 0)",
    "EApiGPIOSetDirection(6, 1, 0)", "EApiGPIOSetDirection(7, 1, 1)"};

const char* const kNames[] = {"Trigger_Pin",    "Ready_Pin",           "Mep_Pin",
                              "Clear_Mep_Pin",  "ForceDark_Pin",       "PowerDown3_Pin",
                              "PowerDown2_Pin", "PowerDown2Status_Pin"};

class SolvaneEApiTest : public OnTheRig {
  protected:
    SolvaneEApiTest() { Start(); }

    void Start(const std::string& board = "") {
        eapi.reset();
        Load(kEapiCamera + board);
        eapi.emplace(logger);
        TakeJournal();
    }

    std::optional<SolvaneEApi> eapi;
};

// ---- Making and destroying ----

TEST_F(SolvaneEApiTest, MakingAsksForTheVersionAndInitialisesNothing) {
    const SolvaneEApi another(logger);
    EXPECT_THAT(TakeJournal(),
                ElementsAre("EApiGetEAPIVersion() -> 0x0, 1.2.3.4",
                            "log: [EAPI]: GPIO control v2.2 for EAPI library v1.2.3.4"));
}

TEST_F(SolvaneEApiTest, AtLoadAccessoriesCountAsOff) {
    EXPECT_EQ(moboAccessoriesPowerFlag, 0);
}

TEST_F(SolvaneEApiTest, AVersionThatCannotBeAskedForIsZeros) {
    FailStatus("EApiGetEAPIVersion", 1, 0xFFFF'F0FF);
    const SolvaneEApi another(logger);
    EXPECT_THAT(TakeLog(), ElementsAre("[EAPI]: GPIO control v2.2 for EAPI library v0.0.0.0"));
}

TEST_F(SolvaneEApiTest, AnExceptionOfTheLogFunctionEndsTheMakingAndLeavesTheBoardAlone) {
    logger.Install(nullptr, [](void*, const char*) { throw std::runtime_error("no room"); });
    EXPECT_THROW(SolvaneEApi another(logger), std::runtime_error);
    EXPECT_THAT(TakeJournal(), ElementsAre("EApiGetEAPIVersion() -> 0x0, 1.2.3.4"));
    logger.Install(nullptr, LogToJournal);
}

TEST_F(SolvaneEApiTest, DestroyingUninitialisesAndSaysNothingWhenItWorks) {
    ASSERT_EQ(eapi->Configure(), 0);
    TakeJournal();
    eapi.reset();
    EXPECT_THAT(TakeJournal(), ElementsAre("EApiLibUnInitialize() -> 0x0"));
}

TEST_F(SolvaneEApiTest, DestroyingUninitialisesEvenWhatWasNeverInitialised) {
    eapi.reset();
    EXPECT_THAT(TakeJournal(), ElementsAre("EApiLibUnInitialize() -> 0xffffffff",
                                           "log: [EAPI]: EApiLibUnInitialize error 0xffffffff"));
}

// ---- Configure ----

TEST_F(SolvaneEApiTest, ConfigureSetsTheDirectionsAndWritesNoLevel) {
    Journal expected{"EApiLibInitialize() -> 0x0", "EApiGPIOGetCount() -> 0x0, 8"};
    for (const char* const direction : kDirections) {
        expected.push_back(std::string(direction) + " -> 0x0");
    }
    EXPECT_EQ(eapi->Configure(), 0);
    EXPECT_EQ(TakeJournal(), expected);
    EXPECT_THAT(TakeEdges(), IsEmpty());
}

TEST_F(SolvaneEApiTest, AFailedInitialisationIsLoggedAndEndsConfigure) {
    FailStatus("EApiLibInitialize", 1, 0xFFFF'FFFD);
    EXPECT_EQ(eapi->Configure(), -3);
    EXPECT_THAT(TakeJournal(), ElementsAre("EApiLibInitialize() -> 0xfffffffd",
                                           "log: [EAPI]: EApiLibInitialize error 0xfffffffd"));
}

TEST_F(SolvaneEApiTest, ALibraryThatIsInitialisedAlreadyIsNoFailure) {
    FailStatus("EApiGPIOGetCount", 1, 0xFFFF'F0FF);
    EXPECT_EQ(eapi->Configure(), -3);
    EXPECT_THAT(TakeLog(), ElementsAre("[EAPI]: EApiGPIOGetCount error 0xfffff0ff"));
    EXPECT_EQ(eapi->Configure(), 0);
    const Journal journal = TakeJournal();
    EXPECT_EQ(journal[0], "EApiLibInitialize() -> 0xfffffffe");
    EXPECT_EQ(journal[1], "EApiGPIOGetCount() -> 0x0, 8");
}

/// The number of pins that are needed goes out as the byte 8, not as its digit.
TEST_F(SolvaneEApiTest, TooFewPinsAreLoggedWithTheControlByteEveryTime) {
    Start("gpios = 7");
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(eapi->CheckAvailable(), -3);
        EXPECT_THAT(TakeLog(),
                    ElementsAre("[EAPI]: not enough GPIO pins available (7 instead of \x08)",
                                "[MOBO]: Configure() result: -3"));
    }
    EXPECT_EQ(rig_calls("EApiGPIOSetDirection"), 0u);
}

TEST_F(SolvaneEApiTest, EveryOperationOfABoardWithTooFewPinsIsMinusThree) {
    Start("gpios = 0");
    EXPECT_EQ(eapi->TriggerCapture(), -3);
    EXPECT_THAT(TakeLog(), ElementsAre("[EAPI]: not enough GPIO pins available (0 instead of \x08)",
                                       "[MOBO]: Configure() result: -3"));
    EXPECT_EQ(eapi->EnableCameraPower(), -3);
}

TEST_F(SolvaneEApiTest, ACountThatWasNotGivenIsZero) {
    FailSilently("EApiGPIOGetCount", 1);
    EXPECT_EQ(eapi->Configure(), -3);
    EXPECT_THAT(TakeLog(),
                ElementsAre("[EAPI]: not enough GPIO pins available (0 instead of \x08)"));
}

TEST_F(SolvaneEApiTest, MorePinsThanNeededAreFine) {
    for (const char* const board : {"gpios = 9", "gpios = 32"}) {
        Start(board);
        EXPECT_EQ(eapi->Configure(), 0);
        EXPECT_EQ(rig_calls("EApiGPIOSetDirection"), 8u);
    }
}

TEST_F(SolvaneEApiTest, ADirectionThatCannotBeSetNamesItsPinAndLeavesTheLaterOnes) {
    for (std::uint32_t pin = 0; pin < 8; ++pin) {
        Start();
        FailStatus("EApiGPIOSetDirection", pin + 1, 0xFFFF'FEFC);
        EXPECT_EQ(eapi->Configure(), -3);
        EXPECT_THAT(TakeLog(), ElementsAre("[EAPI]: EApiGPIOSetDirection(" +
                                           std::string(kNames[pin]) + ") error 0xfffffefc"));
        EXPECT_EQ(rig_calls("EApiGPIOSetDirection"), pin + 1);
    }
}

// ---- Pins ----

TEST_F(SolvaneEApiTest, APinThatCannotBeReadLeavesTheValueAndLogs) {
    ASSERT_EQ(eapi->Configure(), 0);
    FailStatus("EApiGPIOGetLevel", 1, 0x1F);
    TakeJournal();
    std::uint32_t value = 77;
    EXPECT_FALSE(eapi->GetPinValue(Ready_Pin, value));
    EXPECT_EQ(value, 77u);
    EXPECT_THAT(TakeLog(), ElementsAre("[EAPI]: EApiGPIOGetLevel error 0x1f"));
    EXPECT_TRUE(eapi->GetPinValue(Ready_Pin, value));
    EXPECT_EQ(value, 1u);
}

TEST_F(SolvaneEApiTest, APinThatCannotBeDrivenLogs) {
    ASSERT_EQ(eapi->Configure(), 0);
    FailStatus("EApiGPIOSetLevel", 1, 0xABCD);
    TakeJournal();
    EXPECT_FALSE(eapi->SetPinValue(Trigger_Pin, 1));
    EXPECT_THAT(TakeLog(), ElementsAre("[EAPI]: EApiGPIOSetLevel error 0xabcd"));
    EXPECT_TRUE(eapi->SetPinValue(Trigger_Pin, 1));
    EXPECT_EQ(rig_level(RIG_TRIGGER), 1);
}

/// Hexadecimal ends with its number.
TEST_F(SolvaneEApiTest, ADecimalAfterAHexadecimalIsDecimal) {
    FailStatus("EApiLibInitialize", 1, 0xFF);
    EXPECT_EQ(eapi->Configure(), -3);
    TakeJournal();
    Start("gpios = 0");
    FailCount("EApiGPIOGetCount", 1, 7);
    EXPECT_EQ(eapi->Configure(), -3);
    EXPECT_THAT(TakeLog(),
                ElementsAre("[EAPI]: not enough GPIO pins available (7 instead of \x08)"));
}

/// A board may answer a level that is neither 0 nor 1: it is not ready, not latched, not dark, and
/// camera power is on.
TEST_F(SolvaneEApiTest, AnotherLevelThanTheTwoIsNeither) {
    ASSERT_EQ(eapi->CheckAvailable(), 0);
    FailCount("EApiGPIOGetLevel", 1, 2, 0);
    short out = 9;
    EXPECT_EQ(eapi->CheckSystemReady(&out), 0);
    EXPECT_EQ(out, 0);
    EXPECT_EQ(eapi->TriggerCapture(), -5);
    EXPECT_EQ(eapi->CheckAndResetMepFlag(&out), 0);
    EXPECT_EQ(out, 0);
    EXPECT_EQ(eapi->CheckForcedBlackUpdate(&out), 0);
    EXPECT_EQ(out, 0);
    EXPECT_EQ(eapi->CheckCameraPower(&out), 0);
    EXPECT_EQ(out, 1);
}

/// A level that the board does not tell is taken for the one that starts nothing.
TEST_F(SolvaneEApiTest, ALevelThatIsNotToldIsNeitherReadyNorLatchedNorDark) {
    ASSERT_EQ(eapi->CheckAvailable(), 0);
    FailSilently("EApiGPIOGetLevel", 1, 0);
    TakeJournal();
    short out = 9;
    EXPECT_EQ(eapi->CheckSystemReady(&out), 0);
    EXPECT_EQ(out, 0);
    EXPECT_EQ(eapi->CheckAndResetMepFlag(&out), 0);
    EXPECT_EQ(out, 0);
    EXPECT_EQ(eapi->CheckForcedBlackUpdate(&out), 0);
    EXPECT_EQ(out, 0);
    EXPECT_THAT(TakeJournal(), testing::Not(testing::Contains("timeBeginPeriod(1)")));
}

} // namespace
