/// Which hardware serves the host: every subset of the kinds, with the exact log of each.

#include "library_fixture.h"
#include "selection_log.h"

#include <objbase.h>

namespace {

using namespace test;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

/// Bits of a subset.
enum : unsigned { kLpt = 1, kSuperIo = 2, kEapi = 4, kUsb = 8, kAll = 15 };

class Selection : public OnTheRig, public testing::WithParamInterface<unsigned> {
  protected:
    Selection() {
        Load(std::string(Has(kLpt) ? kLptCamera : "") + (Has(kSuperIo) ? kSuperIoCamera : "") +
             (Has(kEapi) ? kEapiCamera : "") + (Has(kUsb) ? kUsbCamera : ""));
        Listen();
    }

    static bool Has(unsigned kind) { return (GetParam() & kind) != 0; }

    /// The lines of one pass over the candidates; the FT2232H says less when it answers again.
    static Lines Pass(const Lines& usb = UsbAnswers()) {
        if (Has(kLpt)) {
            return LptAnswers();
        }
        if (Has(kSuperIo)) {
            return LptIsNotThere() + SuperIoAnswers();
        }
        if (Has(kEapi)) {
            return LptIsNotThere() + SuperIoIsNotThere() + EapiIsMade() + SuperIoGoes() +
                   EapiAnswers();
        }
        return NothingBeforeUsb() + (Has(kUsb) ? usb : UsbIsNotThere());
    }

    /// The kind that serves: the first that is there.
    static bool Serves(unsigned kind) { return (GetParam() & (2 * kind - 1)) == kind; }

    /// What the controller that serves says when it goes.
    static Lines Goes() {
        return Serves(kSuperIo) ? SuperIoGoes()
               : Serves(kUsb)   ? Lines{"Closing device..."}
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
    EXPECT_EQ(TakeTexts(), Goes() + (!Has(kUsb)     ? UsbIsNotThere()
                                     : Serves(kUsb) ? UsbAnswersAgain()
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
    if (Serves(kSuperIo)) {
        EXPECT_EQ(calls, (Lines{"Out32(0x2e, 0xaa)", "Out32(0x2e, 0xaa)"}));
    } else if (Serves(kEapi)) {
        EXPECT_EQ(calls, (Lines{"EApiLibUnInitialize() -> 0x0"}));
    } else if (Serves(kUsb)) {
        EXPECT_EQ(calls, (Lines{"FT_Close(SLV1B) -> 0"}));
    } else {
        EXPECT_THAT(calls, IsEmpty());
    }
}

TEST_P(Selection, NoPortIsTouchedButThoseOfTheKindThatServes) {
    library.TriggerCapture();
    library.RecheckStatus();
    library.WakeCamera();
    library.Unload();
    const Lines ports = Serves(kLpt)       ? Lines{"0x378", "0x379", "0x37a"}
                        : Serves(kSuperIo) ? Lines{"0x2e", "0x2f"}
                                           : Lines{};
    for (const std::string& call : TakeCalls()) {
        if (call.starts_with("Out32(") || call.starts_with("Inp32(")) {
            const std::string port = call.substr(6, call.find_first_of(",)") - 6);
            EXPECT_THAT(ports, testing::Contains(port)) << call;
        }
    }
}

TEST_P(Selection, NoInterfaceOfWmiIsKept) {
    library.CheckAvailable();
    EXPECT_EQ(rig_wbem_interfaces(), 0);
}

std::string NameOfSubset(const testing::TestParamInfo<unsigned>& subset) {
    std::string name;
    name += (subset.param & kLpt) != 0 ? "Lpt" : "";
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

// ---- A parallel port that is not usable ----

class UnusablePort : public OnTheRig {
  protected:
    /// The lines of the parallel port as the first candidate, between its first and its last.
    Lines LinesOfLpt(const std::string& scenario) {
        Load(scenario);
        Listen();
        library.CheckAvailable();
        Lines texts = TakeTexts();
        const auto end = std::find_if(texts.begin(), texts.end(), [](const std::string& text) {
            return text.starts_with("... not available. Error ");
        });
        EXPECT_NE(end, texts.end());
        return {texts.begin() + 2, end + 1};
    }
};

TEST_F(UnusablePort, WithoutItsLoopbackItIsNotThere) {
    EXPECT_EQ(LinesOfLpt("[lpt]\npresence_wire = false\n"),
              (Lines{"[LPT]: error -3", kNotAvailable}));
}

TEST_F(UnusablePort, WithoutThePortDriverItCannotBeReached) {
    EXPECT_EQ(LinesOfLpt("[lpt]\n[inpout]\ndriver_open = false\n"),
              (Lines{"[LPT]: error -2", "... not available. Error -2"}));
}

TEST_F(UnusablePort, WithoutARangeItHasNoAddress) {
    EXPECT_EQ(LinesOfLpt("[lpt]\n[[parallel_port]]\n"), (Lines{"[LPT]: error -3", kNotAvailable}));
}

TEST_F(UnusablePort, AFailureOfWmiIsLoggedWithItsNumber) {
    EXPECT_EQ(LinesOfLpt("[lpt]\n[[fault]]\nfunction = 'IWbemServices::ExecQuery'\ncall = 2\n"
                         "status = 0x80041001\n"),
              (Lines{"[LPT]: pSvc->ExecQuery(ASSOCIATORS OF) failed. hr = 0x80041001",
                     "[LPT]: error -3", kNotAvailable}));
}

TEST_F(UnusablePort, WithoutAPowerInterfaceItServesAndSaysSo) {
    Load("[lpt]\npower_wire = false\n");
    EXPECT_EQ(library.CheckAvailable(), 0);
    EXPECT_EQ(library.CheckPowerControlAvailable(), -3);
    EXPECT_EQ(library.DisableCameraPower(), 0);
    EXPECT_EQ(rig_level(RIG_CAMERA_POWER), 0);
}

// ---- COM is the host's ----

class HostsCom : public OnTheRig {
  protected:
    HostsCom() { Load(kLptCamera); }
};

TEST_F(HostsCom, AThreadWithoutComHasNoneAfterwards) {
    EXPECT_EQ(library.CheckAvailable(), 0);
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
    CoUninitialize();
}

TEST_F(HostsCom, ASingleThreadedHostStaysSo) {
    ASSERT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
    Listen();
    EXPECT_EQ(library.CheckAvailable(), 0);
    EXPECT_EQ(TakeTexts(),
              (Lines{kChecking, "[LPT]: initializing...",
                     "[LPT]: CoInitializeEx() info: already initialized. hr = 0x80010106",
                     "[LPT]: succeeded.", "[LPT]: power interface available.", kSucceeded}));
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_FALSE);
    CoUninitialize();
    CoUninitialize();
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK) << "one too few was ended";
    CoUninitialize();
}

TEST_F(HostsCom, SecurityThatTheHostSetIsNoFailure) {
    ASSERT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
    CoInitializeSecurity(nullptr, -1, nullptr, nullptr, RPC_C_AUTHN_LEVEL_DEFAULT,
                         RPC_C_IMP_LEVEL_IMPERSONATE, nullptr, EOAC_NONE, nullptr);
    Listen();
    EXPECT_EQ(library.CheckAvailable(), 0);
    EXPECT_EQ(TakeTexts(), LptAnswers());
    CoUninitialize();
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
