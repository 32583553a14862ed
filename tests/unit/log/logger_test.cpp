#include "logger.h"

#include <cstdlib>
#include <ctime>
#include <iomanip>

#include "host_platform.h"
#include "on_the_rig.h"

namespace {

using SLV::Internal::Logger;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::SizeIs;

struct Delivered {
    void* context;
    std::string line;
};

/// A logger whose lines are kept as the host gets them, time stamps included.
class LoggerTest : public testing::Test {
  protected:
    LoggerTest() {
        setenv("TZ", "UTC", 1);
        tzset();
        host::Record(false);
    }
    ~LoggerTest() override { host::SetWallClock(0); }

    void Install() { logger.Install(&lines, Keep); }

    /// 14:03:07 UTC and some milliseconds and ticks.
    static void SetTimeOfDay(std::uint64_t milliseconds, std::uint64_t ticks = 0) {
        constexpr std::uint64_t kSeconds = 20'000ull * 86'400 + 14 * 3600 + 3 * 60 + 7;
        host::SetWallClock(kSeconds * 10'000'000 + milliseconds * 10'000 + ticks -
                           host::Now() / 100);
    }

    static void SOLVANE_CALL Keep(void* context, const char* line) {
        static_cast<std::vector<std::string>*>(context)->emplace_back(line);
    }

    Logger logger;
    std::vector<std::string> lines;
};

TEST_F(LoggerTest, StartsSilent) {
    EXPECT_EQ(logger.context, nullptr);
    EXPECT_EQ(logger.callback, nullptr);
    EXPECT_EQ(logger.stream.str(), "");
}

TEST_F(LoggerTest, DeliversOneLineWithTheLocalTimeAndMilliseconds) {
    SetTimeOfDay(42);
    Install();
    logger.Line("Controller candidate been created. Checking H/W availability...");
    EXPECT_THAT(lines, ElementsAre("[14:03:07.042] Controller candidate been created. Checking "
                                   "H/W availability..."));
}

TEST_F(LoggerTest, MillisecondsAreThreeDigitsAndTruncated) {
    Install();
    SetTimeOfDay(7);
    logger.Line("a");
    SetTimeOfDay(0, 9'999);
    logger.Line("b");
    SetTimeOfDay(999, 9'999);
    logger.Line("c");
    EXPECT_THAT(lines, ElementsAre("[14:03:07.007] a", "[14:03:07.000] b", "[14:03:07.999] c"));
}

TEST_F(LoggerTest, TheTimeOfDayFollowsTheClockInBothDirections) {
    Install();
    SetTimeOfDay(999);
    logger.Line("a");
    SetTimeOfDay(1'000);
    logger.Line("b");
    SetTimeOfDay(3'600'000);
    logger.Line("c");
    SetTimeOfDay(0); // somebody set the clock back
    logger.Line("d");
    EXPECT_THAT(lines, ElementsAre("[14:03:07.999] a", "[14:03:08.000] b", "[15:03:07.000] c",
                                   "[14:03:07.000] d"));
}

TEST_F(LoggerTest, UsesTheTimeZoneOfTheProcess) {
    setenv("TZ", "XST-5:30", 1); // five and a half hours east of UTC
    tzset();
    SetTimeOfDay(42);
    Install();
    logger.Line("x");
    EXPECT_THAT(lines, ElementsAre("[19:33:07.042] x"));
}

TEST_F(LoggerTest, EachLineHasTheTimeOfItsFirstPiece) {
    Install();
    SetTimeOfDay(1);
    logger.Append("first");
    SetTimeOfDay(2);
    logger.Line(" second");
    logger.Line("third");
    EXPECT_THAT(lines, ElementsAre("[14:03:07.001] first second", "[14:03:07.002] third"));
}

TEST_F(LoggerTest, PiecesMakeOneLineWithOneTimestampInOneCall) {
    Install();
    SetTimeOfDay(42);
    logger.Line("... not available. Error ", static_cast<short>(-3));
    EXPECT_THAT(lines, ElementsAre("[14:03:07.042] ... not available. Error -3"));
}

TEST_F(LoggerTest, PendingTextIsJoinedByTheNextMessage) {
    Install();
    SetTimeOfDay(42);
    logger.Append(".");
    logger.Append(".");
    EXPECT_THAT(lines, IsEmpty());
    logger.Line(" >>> read bits");
    EXPECT_THAT(lines, ElementsAre("[14:03:07.042] .. >>> read bits"));
}

TEST_F(LoggerTest, FlushWithNothingPendingDeliversOneEmptyLine) {
    Install();
    logger.Flush();
    EXPECT_THAT(lines, ElementsAre(""));
}

TEST_F(LoggerTest, FlushWithoutACallbackKeepsTheText) {
    Install();
    logger.Append("pending");
    logger.callback = nullptr;
    logger.Flush();
    logger.callback = Keep;
    logger.Flush();
    ASSERT_THAT(lines, SizeIs(1));
    EXPECT_THAT(lines[0], EndsWith("] pending"));
}

TEST_F(LoggerTest, NothingIsKeptWithoutACallback) {
    logger.Line("lost");
    logger.Append("lost too");
    EXPECT_EQ(logger.stream.str(), "");
    SetTimeOfDay(42);
    Install();
    logger.Line("kept");
    EXPECT_THAT(lines, ElementsAre("[14:03:07.042] kept"));
}

TEST_F(LoggerTest, ANullCallbackStopsAndAFunctionResumesWithFreshLines) {
    SetTimeOfDay(42);
    Install();
    logger.Append("cut off");
    logger.Install(nullptr, nullptr);
    logger.Line("silent");
    Install();
    logger.Line("again");
    EXPECT_THAT(lines, ElementsAre("[14:03:07.042] again"));
}

TEST_F(LoggerTest, HandsTheContextBackUntouched) {
    static Delivered delivered;
    delivered = {};
    int anything = 0;
    logger.Install(&anything, [](void* context, const char* line) { delivered = {context, line}; });
    logger.Line("x");
    EXPECT_EQ(delivered.context, &anything);
    logger.Install(nullptr, logger.callback);
    logger.Line("y");
    EXPECT_EQ(delivered.context, nullptr);
    EXPECT_THAT(delivered.line, MatchesRegex(R"(\[..:..:..\....\] y)"));
}

TEST_F(LoggerTest, FillStaysZeroAfterATimestampUntilTheNextInstall) {
    Install();
    EXPECT_EQ(logger.stream.fill(), ' ');
    logger.Line("x");
    EXPECT_EQ(logger.stream.fill(), '0');
    logger.Line(std::setw(4), 7);
    ASSERT_THAT(lines, SizeIs(2));
    EXPECT_THAT(lines[1], EndsWith("] 0007"));
    Install();
    EXPECT_EQ(logger.stream.fill(), ' ');
}

TEST_F(LoggerTest, FormatSettingsOutliveAFlushAndNotAnInstall) {
    Install();
    logger.stream << std::hex;
    logger.Line(255);
    EXPECT_THAT(lines.back(), EndsWith("] ff"));
    Install();
    logger.Line(255);
    EXPECT_THAT(lines.back(), EndsWith("] 255"));
}

TEST_F(LoggerTest, ErrorStatesOfTheStreamEndWithTheNextInstall) {
    Install();
    logger.stream.setstate(std::ios::badbit);
    logger.Line("swallowed");
    Install();
    logger.Line("back");
    EXPECT_THAT(lines.back(), EndsWith("] back"));
}

/// A piece that takes the host's function away while it is inserted.
struct RemovesCallback {
    Logger& logger;

    friend std::ostream& operator<<(std::ostream& stream, const RemovesCallback& piece) {
        piece.logger.callback = nullptr;
        return stream << "removed";
    }
};

TEST_F(LoggerTest, StopsBetweenPiecesWhenTheCallbackIsGone) {
    Install();
    logger.Line("before ", RemovesCallback{logger}, "never inserted");
    EXPECT_THAT(lines, IsEmpty());
    EXPECT_THAT(logger.stream.str(), EndsWith("before removed"));
}

struct NeverInserted {
    friend std::ostream& operator<<(std::ostream& stream, const NeverInserted&) {
        ADD_FAILURE() << "formatted for nobody";
        return stream;
    }
};

TEST_F(LoggerTest, NothingIsFormattedWithoutACallback) {
    logger.Line(NeverInserted{});
    logger.Append(NeverInserted{});
}

TEST_F(LoggerTest, TheProcessWideLoggerStartsWithoutAHostFunction) {
    EXPECT_EQ(SLV::Internal::s_logger.callback, nullptr);
    EXPECT_EQ(SLV::Internal::s_logger.context, nullptr);
}

} // namespace
