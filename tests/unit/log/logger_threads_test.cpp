/// Lines of several threads at once, as timers write them.

#include <atomic>
#include <cstdlib>
#include <ctime>
#include <mutex>
#include <regex>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host_platform.h"
#include "logger.h"

namespace {

using SLV::Internal::Logger;
using testing::ElementsAre;

class LoggerThreads : public testing::Test {
  public:
    LoggerThreads() {
        setenv("TZ", "UTC", 1);
        tzset();
        host::Record(false);
        host::SetWallClock(0);
    }

    /// Installs a function that takes as long as a host's may.
    void Install(void (*whileDelivering)(LoggerThreads&, const std::string& line)) {
        onLine = whileDelivering;
        logger.Install(this, [](void* context, const char* line) {
            auto& test = *static_cast<LoggerThreads*>(context);
            test.Keep(line);
            test.onLine(test, line);
        });
    }

    void Keep(const std::string& line) {
        const std::lock_guard lock(mutex);
        lines.push_back(line);
    }

    Logger logger;
    void (*onLine)(LoggerThreads&, const std::string&) = nullptr;
    std::mutex mutex;
    std::vector<std::string> lines;
    std::thread other;
};

TEST_F(LoggerThreads, EveryLineOfEveryThreadArrivesOnceAndWhole) {
    constexpr int kThreads = 4;
    constexpr int kLines = 2'000;
    Install([](LoggerThreads&, const std::string&) {});
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&, thread] {
            for (int i = 0; i < kLines; ++i) {
                // Of different lengths, so that an overwritten line shows.
                logger.Line("thread ", thread, " line ", i,
                            std::string(static_cast<std::size_t>(i % 300), '-'));
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(lines.size(), static_cast<std::size_t>(kThreads * kLines));
    std::vector<int> next(kThreads);
    const std::regex whole(R"(\[00:00:00\.000\] thread (\d) line (\d+)(-*))");
    for (const std::string& line : lines) {
        std::smatch match;
        ASSERT_TRUE(std::regex_match(line, match, whole)) << line;
        const int number = std::stoi(match[2]);
        EXPECT_EQ(number, next[std::stoul(match[1])]++);
        EXPECT_EQ(match[3].length(), number % 300);
    }
}

/// Here it would wait for ever: the thread that has the line waits for it.
TEST_F(LoggerThreads, NoThreadWaitsForTheOpenLine) {
    Install([](LoggerThreads& test, const std::string& line) {
        if (line.ends_with("first")) {
            test.other = std::thread([&test] {
                test.logger.Append(".");
                test.logger.Line("beside it");
                test.logger.Flush();
            });
            test.other.join();
        }
    });
    logger.Line("first");
    logger.Line("second");
    EXPECT_THAT(lines, ElementsAre("[00:00:00.000] first", "[00:00:00.000] .",
                                   "[00:00:00.000] beside it", "", "[00:00:00.000] second"))
        << "what is appended beside a taken line is a line, too: nothing is lost";
}

TEST_F(LoggerThreads, CallsThatDoNotOverlapShareTheOpenLine) {
    Install([](LoggerThreads&, const std::string&) {});
    std::thread([&] { logger.Append(".."); }).join();
    logger.Append(".");
    std::thread([&] { logger.Line("ended by another thread"); }).join();
    EXPECT_THAT(lines, ElementsAre("[00:00:00.000] ...ended by another thread"));
}

/// A piece that removes the host's function while it is written.
struct TakesFunctionAway {
    Logger& logger;

    friend SLV::Internal::LogText& operator<<(SLV::Internal::LogText& text,
                                              const TakesFunctionAway& piece) {
        piece.logger.callback = nullptr;
        return text << "gone";
    }
};

TEST_F(LoggerThreads, ALineOfItsOwnEndsWithTheHostsFunction) {
    Install([](LoggerThreads& test, const std::string&) {
        test.other = std::thread(
            [&test] { test.logger.Line("never ", TakesFunctionAway{test.logger}, " delivered"); });
        test.other.join();
    });
    logger.Line("first");
    EXPECT_THAT(lines, ElementsAre("[00:00:00.000] first"));
}

/// At the exit of a process Windows ends threads wherever they are; after that the library logs
/// that it closes the hardware.
TEST_F(LoggerThreads, ALineWhoseThreadWasEndedBlocksNoOther) {
    static std::atomic<bool> isStuck;
    static std::atomic<bool> isReleased;
    isStuck = isReleased = false;
    Install([](LoggerThreads&, const std::string& line) {
        if (line.ends_with("never returns")) {
            isStuck = true;
            while (!isReleased) {
                std::this_thread::yield();
            }
        }
    });
    std::thread stuck([&] { logger.Line("never returns"); });
    while (!isStuck) {
        std::this_thread::yield();
    }
    logger.Line("Closing device...");
    EXPECT_THAT(lines,
                ElementsAre("[00:00:00.000] never returns", "[00:00:00.000] Closing device..."));
    logger.Install(nullptr, nullptr);
    isReleased = true;
    stuck.join();
}

} // namespace
