#include "logger.h"

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <stdexcept>
#include <thread>

#include "failing_memory.h"
#include "host_platform.h"
#include "on_the_rig.h"
#include "system_faults.h"

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
    static void SetTimeOfDay(std::int64_t milliseconds, std::uint64_t ticks = 0) {
        constexpr std::uint64_t kSeconds = 20'000ull * 86'400 + 14 * 3600 + 3 * 60 + 7;
        host::SetWallClock(kSeconds * 10'000'000 +
                           static_cast<std::uint64_t>(milliseconds * 10'000) + ticks -
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
    EXPECT_EQ(logger.stream.View(), "");
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

TEST_F(LoggerTest, EveryMinuteOfTheDayAndEveryMillisecondIsWrittenInFull) {
    Install();
    constexpr int kMinutes = 24 * 60;
    for (int i = 0; i < kMinutes; ++i) {
        const int second = i * 41 % 60;
        const int millisecond = i % 1000;
        SetTimeOfDay(((i * 60 + second) - (14 * 3600 + 3 * 60 + 7)) * 1000LL + millisecond);
        logger.Line("x");
        char expected[40];
        std::snprintf(expected, sizeof expected, "[%02d:%02d:%02d.%03d] x", i / 60, i % 60, second,
                      millisecond);
        EXPECT_EQ(lines.back(), expected);
    }
}

TEST_F(LoggerTest, TheTimeOfDayFollowsTheClockInBothDirections) {
    Install();
    SetTimeOfDay(999);
    logger.Line("a");
    SetTimeOfDay(1'000);
    logger.Line("b");
    SetTimeOfDay(3'600'000);
    logger.Line("c");
    SetTimeOfDay(0); // the clock was set back
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
    EXPECT_EQ(logger.stream.View(), "");
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
    EXPECT_EQ(logger.stream.fill, ' ');
    logger.Line("x");
    EXPECT_EQ(logger.stream.fill, '0');
    Install();
    EXPECT_EQ(logger.stream.fill, ' ');
}

/// A piece that removes the host's function while it is inserted.
struct RemovesCallback {
    Logger& logger;

    friend SLV::Internal::LogText& operator<<(SLV::Internal::LogText& text,
                                              const RemovesCallback& piece) {
        piece.logger.callback = nullptr;
        return text << "removed";
    }
};

TEST_F(LoggerTest, StopsBetweenPiecesWhenTheCallbackIsGone) {
    Install();
    logger.Line("before ", RemovesCallback{logger}, "never inserted");
    EXPECT_THAT(lines, IsEmpty());
    EXPECT_THAT(std::string(logger.stream.View()), EndsWith("before removed"));
}

struct NeverInserted {
    friend SLV::Internal::LogText& operator<<(SLV::Internal::LogText& text, const NeverInserted&) {
        ADD_FAILURE() << "formatted for nobody";
        return text;
    }
};

TEST_F(LoggerTest, NothingIsFormattedWithoutACallback) {
    logger.Line(NeverInserted{});
    logger.Append(NeverInserted{});
}

// ---- Local time ----

/// Central Europe, with its rules: summer time from the last Sunday of March to that of October, at
/// 1:00 UTC.
class SummerTime : public LoggerTest {
  protected:
    SummerTime() {
        setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
        tzset();
        Install();
    }

    std::string StampAt(std::uint64_t secondsSince1970) {
        host::SetWallClock(secondsSince1970 * 10'000'000 - host::Now() / 100);
        logger.Line("x");
        return lines.back();
    }

    static constexpr std::uint64_t kSpring = 1'743'296'400; ///< 2025-03-30 01:00:00 UTC
    static constexpr std::uint64_t kAutumn = 1'761'440'400; ///< 2025-10-26 01:00:00 UTC
};

TEST_F(SummerTime, IsRightOnBothSidesOfBothChanges) {
    EXPECT_EQ(StampAt(kSpring - 1), "[01:59:59.000] x");
    EXPECT_EQ(StampAt(kSpring), "[03:00:00.000] x");
    EXPECT_EQ(StampAt(kAutumn - 1), "[02:59:59.000] x");
    EXPECT_EQ(StampAt(kAutumn), "[02:00:00.000] x");
}

TEST_F(SummerTime, IsRightWhenTheClockGoesBackAcrossAChange) {
    EXPECT_EQ(StampAt(kSpring), "[03:00:00.000] x");
    EXPECT_EQ(StampAt(kSpring - 1), "[01:59:59.000] x");
    EXPECT_EQ(StampAt(kSpring - 3600), "[01:00:00.000] x");
}

TEST_F(LoggerTest, AZoneWestOfUtcCrossesMidnightRight) {
    setenv("TZ", "XST+9:30", 1);
    tzset();
    Install();
    SetTimeOfDay(42 - 7'000 - 3 * 60'000); // 14:00:00 UTC
    logger.Line("x");
    SetTimeOfDay(42 - (5 * 3600 + 3 * 60 + 7) * 1'000ll); // 09:00:00 UTC
    logger.Line("x");
    EXPECT_THAT(lines, ElementsAre("[04:30:00.042] x", "[23:30:00.042] x"));
}

TEST_F(LoggerTest, ATimeThatTheCalendarDoesNotKnowIsShownInUtc) {
    setenv("TZ", "XST-5:30", 1);
    tzset();
    Install();
    SetTimeOfDay(42);
    host::AddFault({"localtime_s", 1 + host::Calls("localtime_s"), 1, RIG_FAULT_STATUS, 22, 0});
    logger.Line("x");
    EXPECT_THAT(lines, ElementsAre("[14:03:07.042] x"));
    host::ClearFaults();
}

/// The second thread finds the open line taken, by an empty one that has no stamp, and does not ask
/// the calendar itself.
TEST_F(SummerTime, IsKnownBeforeTheFirstLine) {
    struct Host {
        Logger& logger;
        std::vector<std::string> received;
    } twoThreads{logger, {}};
    for (const std::uint64_t second : {kSpring - 1, kSpring}) {
        host::SetWallClock(second * 10'000'000 - host::Now() / 100);
        const std::uint32_t before = host::Calls("localtime_s");
        logger.Install(&twoThreads, [](void* context, const char* line) {
            auto& threads = *static_cast<Host*>(context);
            threads.received.emplace_back(line);
            if (threads.received.back().empty()) {
                std::thread([&threads] { threads.logger.Line("x"); }).join();
            }
        });
        logger.Flush();
        EXPECT_EQ(host::Calls("localtime_s"), before + 1);
        logger.Install(nullptr, nullptr);
        EXPECT_EQ(host::Calls("localtime_s"), before + 1);
    }
    EXPECT_THAT(twoThreads.received, ElementsAre("", "[01:59:59.000] x", "", "[03:00:00.000] x"));
}

// ---- What the host's function does ----

/// A host whose function calls the logger while it has a line.
struct BusyHost {
    Logger& logger;
    std::vector<std::string> lines;
    std::function<void(BusyHost&)> onFirstLine;

    static void SOLVANE_CALL Receive(void* context, const char* line) {
        auto& host = *static_cast<BusyHost*>(context);
        const bool isFirst = host.lines.empty();
        host.lines.emplace_back(line);
        if (isFirst) {
            host.onFirstLine(host);
            EXPECT_EQ(host.lines.front(), line) << "the line is good until the function returns";
        }
    }
};

class HostFunction : public LoggerTest, public testing::WithParamInterface<std::size_t> {
  protected:
    HostFunction() { SetTimeOfDay(42); }

    std::vector<std::string> DeliverTwo(std::function<void(BusyHost&)> onFirstLine) {
        BusyHost host{logger, {}, std::move(onFirstLine)};
        logger.Install(&host, BusyHost::Receive);
        try {
            logger.Line(first);
        } catch (const std::runtime_error&) {
            logger.Append("(threw)");
        }
        logger.Line("second");
        logger.Install(nullptr, nullptr);
        return host.lines;
    }

    const std::string first = std::string(GetParam(), 'a');
    const std::string stamp = "[14:03:07.042] ";
};

INSTANTIATE_TEST_SUITE_P(ShortAndLong, HostFunction,
                         testing::Values(std::size_t{5}, std::size_t{900}));

TEST_P(HostFunction, ALineLoggedInsideIsAppendedToTheOneInDelivery) {
    EXPECT_THAT(DeliverTwo([](BusyHost& host) { host.logger.Line(" inside"); }),
                ElementsAre(stamp + first, stamp + first + " inside", stamp + "second"));
}

TEST_P(HostFunction, ASecondLineLoggedInsideIsALineOfItsOwn) {
    EXPECT_THAT(
        DeliverTwo([](BusyHost& host) {
            host.logger.Line(" inside");
            host.logger.Line("again");
        }),
        ElementsAre(stamp + first, stamp + first + " inside", stamp + "again", stamp + "second"));
}

TEST_P(HostFunction, PiecesAppendedInsideAreDroppedWithTheLine) {
    EXPECT_THAT(DeliverTwo([](BusyHost& host) { host.logger.Append("."); }),
                ElementsAre(stamp + first, stamp + "second"));
}

TEST_P(HostFunction, AFlushInsideDeliversTheSameLineAgain) {
    EXPECT_THAT(DeliverTwo([](BusyHost& host) { host.logger.Flush(); }),
                ElementsAre(stamp + first, stamp + first, stamp + "second"));
}

TEST_P(HostFunction, AnExceptionPassesThroughAndTheTextStays) {
    EXPECT_THAT(DeliverTwo([](BusyHost&) { throw std::runtime_error("host"); }),
                ElementsAre(stamp + first, stamp + first + "(threw)second"));
}

TEST_P(HostFunction, AnExceptionAfterALineLoggedInsideLeavesNothing) {
    EXPECT_THAT(DeliverTwo([](BusyHost& host) {
                    host.logger.Line(" inside");
                    throw std::runtime_error("host");
                }),
                ElementsAre(stamp + first, stamp + first + " inside", stamp + "(threw)second"));
}

TEST_P(HostFunction, AnotherFunctionInstalledInsideGetsTheNextLine) {
    EXPECT_THAT(DeliverTwo([](BusyHost& host) {
                    host.logger.Append("dropped with the line that was being built");
                    host.logger.Install(&host, BusyHost::Receive);
                    host.logger.Line("inside");
                }),
                ElementsAre(stamp + first, stamp + "inside", stamp + "second"));
}

TEST_P(HostFunction, RemovedInsideItGetsNothingMore) {
    EXPECT_THAT(DeliverTwo([](BusyHost& host) {
                    host.logger.Install(nullptr, nullptr);
                    host.logger.Line("for nobody");
                }),
                ElementsAre(stamp + first));
}

TEST_P(HostFunction, WithoutMemoryWhatIsLoggedInsideIsLostAndTheNextLineIsWhole) {
    EXPECT_THAT(DeliverTwo([](BusyHost& host) {
                    host.lines.reserve(10);
                    host.logger.Install(&host, BusyHost::Receive); // drops the line
                    const FailingMemory memory(1, FailingMemory::kForEver);
                    host.logger.Line("inside");
                    EXPECT_GE(memory.Refusals(), 1u);
                }),
                ElementsAre(stamp + first, "", stamp + "second"));
}

// ---- Memory ----

TEST_F(LoggerTest, LinesOfTheUsualLengthNeedNoMemory) {
    SetTimeOfDay(42);
    static std::string delivered;
    delivered.reserve(1000);
    logger.Install(nullptr, [](void*, const char* line) { delivered += line; });
    {
        const FailingMemory memory(1, FailingMemory::kForEver);
        logger.Append(".", "..");
        logger.Line(
            "FT_GetQueueStatus error: Giving up with FT_GetQueueStatus - too many retries: ", 100u,
            static_cast<short>(-3), SLV::Internal::Hex(255u));
        EXPECT_EQ(memory.Refusals(), 0u);
    }
    EXPECT_EQ(delivered, "[14:03:07.042] ...FT_GetQueueStatus error: Giving up with "
                         "FT_GetQueueStatus - too many retries: 100-3ff");
}

TEST_F(LoggerTest, ALineWithoutMemoryIsCutShortAndTheNextIsWhole) {
    SetTimeOfDay(42);
    Install();
    const std::string dots(300, '.');
    lines.reserve(10);
    {
        const FailingMemory memory(1, 1);
        logger.Append(dots);
        EXPECT_EQ(memory.Refusals(), 1u);
    }
    logger.Line("end");
    logger.Line("next");
    EXPECT_THAT(lines, ElementsAre("[14:03:07.042] " + dots.substr(0, 240 - 15) + "end",
                                   "[14:03:07.042] next"));
}

TEST_F(LoggerTest, TheProcessWideLoggerStartsWithoutAHostFunction) {
    EXPECT_EQ(SLV::Internal::s_logger.callback, nullptr);
    EXPECT_EQ(SLV::Internal::s_logger.context, nullptr);
}

} // namespace
