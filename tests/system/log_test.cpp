/// Log lines as a host gets them from the real DLL.

#include "library_fixture.h"
#include "selection_log.h"

namespace {

using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;

class Log : public OnTheRig {};

TEST_F(Log, TheFirstCallTellsHowTheHardwareWasChosen) {
    Listen();
    EXPECT_THAT(TakeLines(), IsEmpty()) << "installing a log function looks for nothing";
    EXPECT_EQ(library.CheckAvailable(), 0);
    EXPECT_EQ(TakeTexts(), NothingBeforeUsb() + UsbAnswers());
}

TEST_F(Log, ATriggerShowsItsPollsAsDots) {
    EXPECT_EQ(library.CheckAvailable(), 0);
    Listen();
    EXPECT_EQ(library.TriggerCapture(), 0);
    EXPECT_THAT(TakeTexts(),
                ElementsAre(".. <<< write bits: High Byte (BC)CLR-MEP-RDY-apw-cpw-drk-TRG- 0xf1",
                            " <<< write bits: High Byte (BC)CLR-MEP-RDY-apw-cpw-drk-trg- 0xf0"));
}

TEST_F(Log, WithoutHardwareTheReasonStandsInTheLog) {
    Load("");
    Listen();
    EXPECT_EQ(library.RecheckStatus(), -3);
    const Lines onePass = NothingBeforeUsb() + UsbIsNotThere();
    EXPECT_EQ(TakeTexts(), onePass + onePass) << "as the first call it selects twice";
}

TEST_F(Log, NodesAreDumpedWithAddressesOfSixteenDigits) {
    Load("[[usb]]\nchip = \"FT232R\"\nserial = \"R1\"\n");
    Listen();
    EXPECT_EQ(library.CheckAvailable(), -3);
    const auto texts = TakeTexts();
    EXPECT_THAT(texts, testing::Contains(" s_ft_handle=0x0000000000000000"));
    EXPECT_THAT(texts, testing::Contains(" ID=0x4036001"));
}

TEST_F(Log, TheTimeStampIsTheLocalTime) {
    Listen();
    SYSTEMTIME before{};
    GetLocalTime(&before);
    library.CheckAvailable();
    SYSTEMTIME after{};
    GetLocalTime(&after);
    int hour = 0;
    int minute = 0;
    int second = 0;
    int millisecond = 0;
    ASSERT_EQ(std::sscanf(TakeLines().front().c_str(), "[%d:%d:%d.%d]", &hour, &minute, &second,
                          &millisecond),
              4);
    const auto ofDay = [](int h, int m, int s, int ms) {
        return ((h * 60 + m) * 60 + s) * 1000 + ms;
    };
    const int stamped = ofDay(hour, minute, second, millisecond);
    const int first = ofDay(before.wHour, before.wMinute, before.wSecond, before.wMilliseconds);
    int last = ofDay(after.wHour, after.wMinute, after.wSecond, after.wMilliseconds);
    if (last < first) {
        GTEST_SKIP() << "midnight passed";
    }
    EXPECT_GE(stamped, first - 1);
    EXPECT_LE(stamped, last + 1);
}

TEST_F(Log, RemovingTheLogFunctionSilencesTheLibrary) {
    Listen();
    library.CheckAvailable();
    library.SetLogger(nullptr, nullptr);
    TakeLines();
    EXPECT_EQ(library.TriggerCapture(), 0);
    EXPECT_THAT(TakeLines(), IsEmpty());
}

} // namespace
