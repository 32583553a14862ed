#include "solvane_kontron.h"

#include <optional>

#include "on_the_rig.h"

namespace {

using namespace SLV::Internal;
using namespace test;
using testing::AnyOf;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

/// The second read of Configure() is the second identification byte, and so on.
enum ReadOfConfigure : std::uint32_t {
    kFirstId = 1,
    kSecondId,
    kBanks,
    kDirection,
    kData,
    kThird,
    kFourth,
    kDirectionBack,
    kClearMepBack,
    kTriggerBack
};

class SolvaneKontronTest : public OnTheRig {
  protected:
    SolvaneKontronTest() { Start(); }
    ~SolvaneKontronTest() override {
        kontron.reset();
        EXPECT_EQ(s_gpioMobo.portStatus, 0xFFFE);
    }

    void Start(const std::string& board = "") {
        kontron.reset();
        Load(kSuperIoCamera + board);
        kontron.emplace(logger);
        TakeJournal();
    }

    void StartConfigured(const std::string& board = "") {
        Start(board);
        ASSERT_EQ(kontron->CheckAvailable(), 0);
        TakeJournal();
    }

    /// Configure() fails with these lines, and again after the wrong-state line.
    void ExpectFailure(const Journal& lines) {
        EXPECT_EQ(kontron->Configure(), -3);
        EXPECT_EQ(TakeLog(), lines);
    }

    std::optional<SolvaneKontron> kontron;
};

const std::string kWrongState = "[KTRN]: GPIO MOBO has a wrong state. Reinitialize the library...";

// ---- Configure ----

TEST_F(SolvaneKontronTest, MakingTouchesNothing) {
    const SolvaneKontron another(logger);
    EXPECT_THAT(TakeJournal(), IsEmpty());
}

TEST_F(SolvaneKontronTest, AtLoadAccessoriesCountAsOffAndThePortsAreNotInUse) {
    EXPECT_EQ(kontronAccessoriesPowerFlag, 0);
    EXPECT_EQ(s_gpioMobo.portStatus, 0xFFFE);
}

TEST_F(SolvaneKontronTest, ADriverThatIsNotOpenIsTheEndAndLeavesThePortsAlone) {
    Start("[inpout]\ndriver_open = false\n");
    EXPECT_EQ(kontron->Configure(), -3);
    EXPECT_THAT(TakeJournal(), ElementsAre("IsInpOutDriverOpen() -> 0",
                                           "log: [KTRN]: InpOut driver is not opened."));
    EXPECT_EQ(s_gpioMobo.portStatus, 0xFFFE);
}

/// All 32 bits of the answer count.
TEST_F(SolvaneKontronTest, AnyNonZeroAnswerOfTheDriverIsOpen) {
    FailStatus("IsInpOutDriverOpen", 1, 0x8000'0000);
    EXPECT_EQ(kontron->Configure(), 0);
}

TEST_F(SolvaneKontronTest, AnotherChipIsLeftAloneAfterItsFirstId) {
    Start("id = 0xC552");
    EXPECT_EQ(kontron->Configure(), -3);
    EXPECT_THAT(TakeJournal(),
                ElementsAre("IsInpOutDriverOpen() -> 1", "Out32(0x2e, 0x87)", "Out32(0x2e, 0x87)",
                            "Out32(0x2e, 0x20)", "Inp32(0x2f) -> 0xc5",
                            "log: [KTRN]: Failed to initialize GPIO MOBO library. Error code: -4"));
}

TEST_F(SolvaneKontronTest, AnotherChipIsLeftAloneAfterItsSecondIdAndIdentifiedAgainLater) {
    Start("id = 0xC453");
    ExpectFailure({"[KTRN]: Failed to initialize GPIO MOBO library. Error code: -5"});
    EXPECT_EQ(s_gpioMobo.portStatus, 0xFFFB);
    EXPECT_EQ(kontron->Configure(), -3);
    EXPECT_THAT(TakeJournal(),
                ElementsAre("IsInpOutDriverOpen() -> 1", "log: " + kWrongState, "Out32(0x2e, 0xaa)",
                            "Out32(0x2e, 0x87)", "Out32(0x2e, 0x87)", "Out32(0x2e, 0x20)",
                            "Inp32(0x2f) -> 0xc4", "Out32(0x2e, 0x21)", "Inp32(0x2f) -> 0x53",
                            "log: [KTRN]: Failed to initialize GPIO MOBO library. Error code: -5"));
}

TEST_F(SolvaneKontronTest, NoChipAtAllReadsAsAnotherChip) {
    Load("[inpout]\ndriver_open = true\n");
    ExpectFailure({"[KTRN]: Failed to initialize GPIO MOBO library. Error code: -4"});
}

TEST_F(SolvaneKontronTest, AnInactiveBankIsNotMade) {
    Start("active_banks = 0xF7");
    ExpectFailure({"[KTRN]: GPIO bank #3 is inactive."});
    EXPECT_EQ(kontron->DescribeState().View(), "GPIO device is NULL!");
    ExpectFailure({kWrongState, "[KTRN]: GPIO bank #3 is inactive."});
    Start("active_banks = 0x08");
    EXPECT_EQ(kontron->Configure(), 0) << "the other banks do not matter";
}

TEST_F(SolvaneKontronTest, ActiveBanksOfMoreThanAByteHaveTheWrongFormat) {
    for (const auto& [value, text] :
         {std::pair{0x1AFu, "1af"}, std::pair{0xFFFFu, "ffff"}, std::pair{0x100u, "100"}}) {
        Start();
        FailStatus("Inp32", kBanks, value);
        ExpectFailure({"[KTRN]: Information about active GPIO banks has wrong format: 0x" +
                       std::string(text)});
    }
}

TEST_F(SolvaneKontronTest, ARegisterThatCannotBeReadEndsTheReadingAndIsNotKept) {
    // What is not known is 0: then the clear-MEP pin alone is set.
    FailStatus("Inp32", kData, 0x1EE);
    EXPECT_EQ(kontron->Configure(), 0) << "stopping is no failure";
    EXPECT_THAT(TakeJournal(), testing::Contains("Out32(0x2f, 0x8)"));
    EXPECT_EQ(rig_calls("Inp32"), 8u) << "the two registers behind it are not read";
}

TEST_F(SolvaneKontronTest, DirectionsThatCannotBeSetAreAFailure) {
    FailStatus("Inp32", kDirectionBack, 0x186);
    ExpectFailure({"[KTRN]: failed to configure pins directions."});
}

TEST_F(SolvaneKontronTest, DirectionsAreNotComparedWithWhatWasWritten) {
    FailStatus("Inp32", kDirectionBack, 0x00);
    EXPECT_EQ(kontron->Configure(), 0);
}

TEST_F(SolvaneKontronTest, AClearMepPinThatCannotBeWrittenIsTwoLines) {
    FailStatus("Inp32", kClearMepBack, 0x100);
    ExpectFailure({"[KTRN]: SetPin() failed to write to I/O register.",
                   "[KTRN]: failed to initially set Clear MEP pin."});
}

TEST_F(SolvaneKontronTest, AClearMepPinThatReadsBackLowIsAFailure) {
    FailStatus("Inp32", kClearMepBack, 0xF7);
    ExpectFailure({"[KTRN]: failed to initially set Clear MEP pin."});
}

TEST_F(SolvaneKontronTest, ATriggerPinThatCannotBeWrittenIsTwoLines) {
    FailStatus("Inp32", kTriggerBack, 0x100);
    ExpectFailure({"[KTRN]: ClearPin() failed to write to I/O register.",
                   "[KTRN]: failed to initially clear Trigger pin."});
}

TEST_F(SolvaneKontronTest, ATriggerPinThatReadsBackHighIsAFailure) {
    FailStatus("Inp32", kTriggerBack, 0x01);
    ExpectFailure({"[KTRN]: failed to initially clear Trigger pin."});
}

TEST_F(SolvaneKontronTest, EveryFailureIsRepairedByTheNextAttempt) {
    for (std::uint32_t read = kFirstId; read <= kTriggerBack; ++read) {
        Start();
        FailStatus("Inp32", read, 0x9999);
        const short first = kontron->Configure();
        TakeJournal();
        EXPECT_EQ(kontron->Configure(), 0) << read;
        EXPECT_EQ(TakeLog().front(), kWrongState) << read;
        EXPECT_TRUE(first == -3 || (read >= kDirection && read <= kFourth)) << read;
    }
}

TEST_F(SolvaneKontronTest, ConfiguringAgainIsTheWrongStateToo) {
    EXPECT_EQ(kontron->Configure(), 0);
    TakeJournal();
    EXPECT_EQ(kontron->Configure(), 0);
    EXPECT_EQ(TakeLog(), Entries(kWrongState, "[KTRN]: initialization succeeded!",
                                 "[KTRN]: State: trg-RDY-MEP-CLR-drk-APW-CPW-PWS"));
}

TEST_F(SolvaneKontronTest, ATriggerLeftHighIsLoweredAndAClearMepLeftLowIsRaised) {
    Start("data = 0x61");
    EXPECT_EQ(kontron->Configure(), 0);
    EXPECT_EQ(rig_level(RIG_TRIGGER), 0);
    EXPECT_EQ(rig_level(RIG_CLEAR_MEP), 0);
}

// ---- Pins ----

TEST_F(SolvaneKontronTest, WithoutABankNothingIsReadOrDriven) {
    std::uint32_t value = 77;
    EXPECT_FALSE(kontron->GetPinValue(Ready_Pin, value));
    EXPECT_FALSE(kontron->SetPinValue(Trigger_Pin, 1));
    EXPECT_EQ(value, 77u);
    EXPECT_THAT(TakeJournal(), ElementsAre("log: [KTRN]: GPIO device is NOT ready.",
                                           "log: [KTRN]: GPIO device is NOT ready."));
}

TEST_F(SolvaneKontronTest, AWrongLevelIsRefusedWithoutAPicture) {
    StartConfigured();
    EXPECT_FALSE(kontron->SetPinValue(Trigger_Pin, 2));
    EXPECT_FALSE(kontron->SetPinValue(Trigger_Pin, 0xFFFF'FFFF));
    EXPECT_THAT(TakeJournal(),
                ElementsAre("log: [KTRN]: SetPinValue() recieved wrong value 2",
                            "log: [KTRN]: SetPinValue() recieved wrong value 4294967295"));
}

TEST_F(SolvaneKontronTest, AFailedReadIsSilentAndChangesNothing) {
    StartConfigured();
    for (const std::uint32_t answer : {0x100u, 0xFFFFu}) {
        FailStatus("Inp32", 1, answer);
        std::uint32_t value = 77;
        EXPECT_FALSE(kontron->GetPinValue(Ready_Pin, value));
        EXPECT_EQ(value, 77u);
        EXPECT_THAT(TakeLog(), IsEmpty());
        EXPECT_EQ(kontron->DescribeState().View(), "trg-RDY-MEP-CLR-drk-APW-CPW-PWS");
    }
}

TEST_F(SolvaneKontronTest, AByteWithAllBitsIsAGoodRead) {
    StartConfigured();
    FailStatus("Inp32", 1, 0xFF);
    std::uint32_t value = 0;
    EXPECT_TRUE(kontron->GetPinValue(Trigger_Pin, value));
    EXPECT_EQ(value, 1u);
    EXPECT_THAT(TakeLog(), ElementsAre("[KTRN]: <<< TRG-RDY-MEP-CLR-DRK-APW-CPW-PWS"));
    EXPECT_EQ(s_gpioMobo.portStatus, 0);
}

TEST_F(SolvaneKontronTest, AWriteThatReadsBackOtherwiseFailsAndIsPictured) {
    StartConfigured();
    FailStatus("Inp32", 1, 0xEE);
    EXPECT_FALSE(kontron->SetPinValue(Trigger_Pin, 1));
    EXPECT_THAT(TakeLog(), ElementsAre("[KTRN]: >>> trg-RDY-MEP-CLR-drk-APW-CPW-PWS"));
    FailStatus("Inp32", 1, 0xEF);
    EXPECT_FALSE(kontron->SetPinValue(Trigger_Pin, 0));
    EXPECT_THAT(TakeLog(), ElementsAre("[KTRN]: >>> TRG-RDY-MEP-CLR-drk-APW-CPW-PWS"));
}

/// Outputs are made from the value that was read last: an input that changed since does not matter.
TEST_F(SolvaneKontronTest, AWriteStartsFromTheCachedValue) {
    StartConfigured();
    rig_force(RIG_READY, 0);
    kontron->SetPinValue(ForceDark_Pin, 1);
    EXPECT_EQ(TakeJournal()[1], "Out32(0x2f, 0xfe)");
}

TEST_F(SolvaneKontronTest, TenUnchangedPollsAreOneLineOfDotsEndedByTheNextMessage) {
    StartConfigured();
    std::uint32_t value = 0;
    for (int i = 0; i < 10; ++i) {
        EXPECT_TRUE(kontron->GetPinValue(Ready_Pin, value));
    }
    EXPECT_THAT(TakeLog(), IsEmpty());
    rig_force(RIG_READY, 0);
    EXPECT_TRUE(kontron->GetPinValue(Ready_Pin, value));
    EXPECT_THAT(TakeLog(), ElementsAre("..........[KTRN]: <<< trg-rdy-MEP-CLR-drk-APW-CPW-PWS"));
}

TEST_F(SolvaneKontronTest, AfterEnablingCameraPowerItsBitIsOneAndPictured) {
    StartConfigured();
    kontron->DisableCameraPower();
    EXPECT_THAT(TakeLog(), ElementsAre("[KTRN]: >>> trg-rdy-MEP-CLR-drk-APW-cpw-pws"));
    kontron->EnableCameraPower();
    EXPECT_THAT(TakeLog(), ElementsAre("[KTRN]: >>> trg-rdy-MEP-CLR-drk-APW-CPW-PWS"));
}

TEST_F(SolvaneKontronTest, EveryPinHasItsToken) {
    StartConfigured();
    const char* const pictures[] = {
        "TRG-rdy-mep-clr-drk-apw-cpw-pws", "trg-RDY-mep-clr-drk-apw-cpw-pws",
        "trg-rdy-MEP-clr-drk-apw-cpw-pws", "trg-rdy-mep-CLR-drk-apw-cpw-pws",
        "trg-rdy-mep-clr-DRK-apw-cpw-pws", "trg-rdy-mep-clr-drk-APW-cpw-pws",
        "trg-rdy-mep-clr-drk-apw-CPW-pws", "trg-rdy-mep-clr-drk-apw-cpw-PWS"};
    std::uint32_t value = 0;
    for (unsigned pin = 0; pin < 8; ++pin) {
        FailStatus("Inp32", 1, 1U << pin);
        ASSERT_TRUE(kontron->GetPinValue(static_cast<PinId>(pin), value));
        EXPECT_EQ(value, 1u);
        EXPECT_EQ(kontron->DescribeState().View(), pictures[pin]);
    }
    FailStatus("Inp32", 1, 0);
    ASSERT_TRUE(kontron->GetPinValue(Trigger_Pin, value));
    EXPECT_EQ(kontron->DescribeState().View(), "trg-rdy-mep-clr-drk-apw-cpw-pws");
}

// ---- Destroying ----

TEST_F(SolvaneKontronTest, DestroyingLeavesConfigurationModeAndSaysSo) {
    StartConfigured();
    std::uint32_t value = 0;
    kontron->GetPinValue(Ready_Pin, value);
    TakeJournal();
    kontron.reset();
    EXPECT_THAT(TakeJournal(), ElementsAre("Out32(0x2e, 0xaa)", "Out32(0x2e, 0xaa)", "log: .",
                                           "log: [KTRN]: deleted."));
    s_gpioMobo.writePort(0x2E, 0x87);
    EXPECT_EQ(s_gpioMobo.readPort(0x2F), 0);
    EXPECT_THAT(TakeJournal(), IsEmpty()) << "nobody touches the ports any more";
}

/// Ending a line that was not begun is an empty line.
TEST_F(SolvaneKontronTest, DestroyingWithoutDotsGivesTheHostAnEmptyLine) {
    kontron.reset();
    EXPECT_THAT(TakeJournal(), ElementsAre("log: ", "log: [KTRN]: deleted."));
}

TEST_F(SolvaneKontronTest, NoPortButTheChipsIsEverTouched) {
    StartConfigured("[camera]\nmep_latched = true\n");
    short out = 0;
    kontron->TriggerCapture();
    kontron->WakeCamera();
    kontron->CheckAndResetMepFlag(&out);
    kontron->DisableCameraPower();
    kontron.reset();
    Journal calls;
    for (const std::string& entry : TakeJournal()) {
        if (entry.starts_with("Out32") || entry.starts_with("Inp32")) {
            calls.push_back(entry);
        }
    }
    EXPECT_THAT(calls, Not(IsEmpty()));
    EXPECT_THAT(calls, Each(AnyOf(StartsWith("Out32(0x2e, "), StartsWith("Out32(0x2f, "),
                                  StartsWith("Inp32(0x2f)"))));
}

} // namespace
