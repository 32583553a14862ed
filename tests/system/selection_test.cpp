/// Which hardware serves the host: every subset of the kinds, with the exact log of each.

#include "library_fixture.h"
#include "selection_log.h"

namespace {

using namespace test;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

/// Bits of a subset.
enum : unsigned { kSuperIo = 1, kEapi = 2, kUsb = 4, kAll = 7 };

class Selection : public OnTheRig, public testing::WithParamInterface<unsigned> {
  protected:
    Selection() {
        Load(std::string(Has(kSuperIo) ? kSuperIoCamera : "") + (Has(kEapi) ? kEapiCamera : "") +
             (Has(kUsb) ? kUsbCamera : ""));
        Listen();
    }

    static bool Has(unsigned kind) { return (GetParam() & kind) != 0; }

    /// The lines of one pass over the candidates; the FT2232H says less when it answers again.
    static Lines Pass(const Lines& usb = UsbAnswers()) {
        if (Has(kSuperIo)) {
            return SuperIoAnswers();
        }
        if (Has(kEapi)) {
            return SuperIoIsNotThere() + EapiIsMade() + SuperIoGoes() + EapiAnswers();
        }
        return NothingBeforeUsb() + (Has(kUsb) ? usb : UsbIsNotThere());
    }

    /// What the controller that serves says when it goes.
    static Lines Goes() {
        return Has(kSuperIo) ? SuperIoGoes()
               : Has(kEapi)  ? Lines{}
               : Has(kUsb)   ? Lines{"Closing device..."}
                             : Lines{};
    }

    static short Expected() { return GetParam() != 0 ? short{0} : short{-3}; }
};

TEST_P(Selection, TheFirstCallFindsTheFirstKindThatIsThere) {
    EXPECT_EQ(library.CheckAvailable(), Expected());
    EXPECT_EQ(TakeTexts(), Pass() + (GetParam() == 0 ? UsbDoesNotConfigure() : Lines{}));
    EXPECT_EQ(library.TriggerCapture(), Expected());
    EXPECT_EQ(rig_captures(), GetParam() != 0 ? 1u : 0u);
}

TEST_P(Selection, ARecheckBeginsWithTheFirstKindAgain) {
    EXPECT_EQ(library.CheckAvailable(), Expected());
    TakeTexts();
    EXPECT_EQ(library.RecheckStatus(), Expected());
    EXPECT_EQ(TakeTexts(), Goes() + Pass(UsbAnswersAgain()));
    EXPECT_EQ(library.TriggerCapture(), Expected());
}

TEST_P(Selection, EnforcingFtdiTakesTheFt2232hWhateverElseIsThere) {
    EXPECT_EQ(library.CheckAvailable(), Expected());
    TakeTexts();
    library.EnforceFTDI();
    const bool isServing = GetParam() == kUsb;
    EXPECT_EQ(TakeTexts(), Goes() + (!Has(kUsb)  ? UsbIsNotThere()
                                     : isServing ? UsbAnswersAgain()
                                                 : UsbAnswers()));
    EXPECT_EQ(library.CheckAvailable(), Has(kUsb) ? 0 : -3) << "it stays, available or not";
    EXPECT_EQ(library.TriggerCapture(), Has(kUsb) ? 0 : -3);
}

TEST_P(Selection, UnloadingLetsGoOfTheHardware) {
    library.CheckAvailable();
    TakeTexts();
    TakeCalls();
    library.Unload();
    EXPECT_EQ(TakeTexts(), Goes());
    const Lines calls = TakeCalls();
    if (Has(kSuperIo)) {
        EXPECT_EQ(calls, (Lines{"Out32(0x2e, 0xaa)", "Out32(0x2e, 0xaa)"}));
    } else if (Has(kEapi)) {
        EXPECT_EQ(calls, (Lines{"EApiLibUnInitialize() -> 0x0"}));
    } else if (Has(kUsb)) {
        EXPECT_EQ(calls, (Lines{"FT_Close(SLV1B) -> 0"}));
    } else {
        EXPECT_THAT(calls, IsEmpty());
    }
}

TEST_P(Selection, NoPortButTheSuperIoChipsIsTouched) {
    library.TriggerCapture();
    library.RecheckStatus();
    library.WakeCamera();
    library.Unload();
    for (const std::string& call : TakeCalls()) {
        if (call.starts_with("Out32(") || call.starts_with("Inp32(")) {
            EXPECT_TRUE(Has(kSuperIo));
            EXPECT_THAT(call, testing::AnyOf(StartsWith("Out32(0x2e, "), StartsWith("Out32(0x2f, "),
                                             StartsWith("Inp32(0x2f)")));
        }
    }
}

std::string NameOfSubset(const testing::TestParamInfo<unsigned>& subset) {
    std::string name;
    name += (subset.param & kSuperIo) != 0 ? "SuperIo" : "";
    name += (subset.param & kEapi) != 0 ? "Eapi" : "";
    name += (subset.param & kUsb) != 0 ? "Usb" : "";
    return name.empty() ? "Nothing" : name;
}

INSTANTIATE_TEST_SUITE_P(OfEverySubset, Selection, testing::Range(0u, kAll + 1), NameOfSubset);

// ---- A board that is not the one ----

class OtherBoard : public OnTheRig {};

TEST_F(OtherBoard, AChipWithOtherIdsIsLeftAloneAfterItsIdentification) {
    const struct {
        const char* id;
        Lines accesses;
        const char* line;
    } chips[] = {
        {"0xC552",
         {"Out32(0x2e, 0x87)", "Out32(0x2e, 0x87)", "Out32(0x2e, 0x20)", "Inp32(0x2f) -> 0xc5"},
         "[KTRN]: Failed to initialize GPIO MOBO library. Error code: -4"},
        {"0xC453",
         {"Out32(0x2e, 0x87)", "Out32(0x2e, 0x87)", "Out32(0x2e, 0x20)", "Inp32(0x2f) -> 0xc4",
          "Out32(0x2e, 0x21)", "Inp32(0x2f) -> 0x53"},
         "[KTRN]: Failed to initialize GPIO MOBO library. Error code: -5"}};
    for (const auto& chip : chips) {
        Load(std::string(kSuperIoCamera) + "id = " + chip.id + "\n" + kUsbCamera);
        Listen();
        library.RecheckStatus();
        EXPECT_THAT(TakeTexts(), testing::Contains(chip.line));
        Lines accesses;
        for (const std::string& call : TakeCalls()) {
            if (call.starts_with("Out32(") || call.starts_with("Inp32(")) {
                accesses.push_back(call);
            }
        }
        // What the destructor of the refused candidate writes: it leaves configuration mode.
        const Lines once = chip.accesses + Lines{"Out32(0x2e, 0xaa)", "Out32(0x2e, 0xaa)"};
        accesses.resize(once.size());
        EXPECT_EQ(accesses, once);
        EXPECT_EQ(library.TriggerCapture(), 0) << "the FT2232H serves";
    }
}

TEST_F(OtherBoard, TooFewPinsAreLoggedWithTheControlByte) {
    Load("[eapi]\ngpios = 7\n");
    Listen();
    EXPECT_EQ(library.CheckAvailable(), -3);
    EXPECT_THAT(TakeTexts(),
                testing::Contains("[EAPI]: not enough GPIO pins available (7 instead of \x08)"));
}

// ---- The log of a board ----

class BoardLog : public OnTheRig {};

TEST_F(BoardLog, TenUnchangedPollsAreOneLineOfDots) {
    Load(kSuperIoCamera);
    EXPECT_EQ(library.CheckAvailable(), 0);
    Listen();
    std::int16_t ready = 0;
    for (int i = 0; i < 10; ++i) {
        EXPECT_EQ(library.CheckSystemReady(&ready), 0);
        EXPECT_EQ(ready, 1);
    }
    EXPECT_THAT(TakeLines(), IsEmpty());
    EXPECT_EQ(library.EnableForcedBlackUpdate(), 0);
    EXPECT_THAT(TakeTexts(), ElementsAre("..........[KTRN]: >>> trg-RDY-MEP-CLR-DRK-APW-CPW-PWS"));
}

TEST_F(BoardLog, PendingDotsGoOutWhenTheLibraryIsUnloaded) {
    Load(kSuperIoCamera);
    std::int16_t ready = 0;
    library.CheckAvailable();
    Listen();
    library.CheckSystemReady(&ready);
    library.Unload();
    EXPECT_THAT(TakeTexts(), ElementsAre(".", "[KTRN]: deleted."));
}

} // namespace
