/// The time stamps of log lines, in the real DLL; what the lines say is in tests/transcripts.

#include "library_fixture.h"

namespace {

using namespace test;

class Log : public OnTheRig {};

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

} // namespace
