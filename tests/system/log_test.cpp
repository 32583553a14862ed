/// Log lines of the real DLL: time stamps and threads. Their texts are in tests/transcripts.

#include <mutex>
#include <regex>
#include <thread>

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

/// Timer functions may be called from any thread, and log there.
TEST_F(Log, LinesOfTwoThreadsArriveOnceAndWhole) {
    constexpr std::size_t kLinesOfEach = 5'000;
    struct Host {
        std::mutex mutex;
        std::vector<std::string> lines;
    } host;
    library.SetLogger(&host, [](void* context, const char* line) {
        auto& receiver = *static_cast<Host*>(context);
        const std::lock_guard lock(receiver.mutex);
        receiver.lines.emplace_back(line);
    });
    const auto logMany = [&] {
        for (std::size_t i = 0; i < kLinesOfEach; ++i) {
            library.StopTimer(0);
        }
    };
    std::thread other(logMany);
    logMany();
    other.join();
    library.SetLogger(nullptr, nullptr);
    EXPECT_EQ(host.lines.size(), 2 * kLinesOfEach);
    const std::regex whole(R"(\[\d\d:\d\d:\d\d\.\d\d\d\] )"
                           R"(Error\. Solvane_StopTimer\(\) got invalid timer handler\. )");
    for (const std::string& line : host.lines) {
        ASSERT_TRUE(std::regex_match(line, whole)) << '"' << line << '"';
    }
}

} // namespace
