/// What solvane.hpp adds to the C interface, tested on a stand-in for the library.

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <future>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <solvane/solvane.hpp>

namespace {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

constexpr std::uint32_t kPeriod = 1000;

void Set(const char* variable, const std::string& value) {
#ifdef _WIN32
    _putenv_s(variable, value.c_str());
#else
    setenv(variable, value.c_str(), 1);
#endif
}

class CppBinding : public testing::Test {
  protected:
    void SetUp() override {
        journal = testing::TempDir() + "cpp_binding_" +
                  testing::UnitTest::GetInstance()->current_test_info()->name();
        std::remove(journal.c_str());
        Set("STAND_IN", "ready");
        Set("STAND_IN_LOST", "0");
        Set("STAND_IN_JOURNAL", journal);
    }
    void TearDown() override { std::remove(journal.c_str()); }

    /// The calls that have reached the stand-in.
    std::vector<std::string> Calls() const {
        std::vector<std::string> calls;
        std::ifstream file(journal);
        for (std::string line; std::getline(file, line);) {
            calls.push_back(line);
        }
        return calls;
    }

    std::string journal;
};

TEST_F(CppBinding, StatusIsThrown) {
    Set("STAND_IN", "none");
    try {
        solvane::WakeCamera();
        FAIL() << "nothing thrown";
    } catch (const solvane::Error& error) {
        EXPECT_EQ(error.status(), solvane::Status::NoHardware);
        EXPECT_EQ(error.code(), solvane::Status::NoHardware);
        EXPECT_THAT(error.what(), AllOf(HasSubstr("Solvane_WakeCamera: status -3"),
                                        HasSubstr("the hardware was not found")));
    }
    EXPECT_THROW(solvane::CheckSystemReady(), solvane::Error);
}

TEST_F(CppBinding, StatusIsToldInAnErrorCode) {
    std::error_code error = solvane::Status::Invalid;
    solvane::TriggerCapture(error);
    EXPECT_FALSE(error);

    Set("STAND_IN", "busy");
    solvane::TriggerCapture(error);
    EXPECT_EQ(error, solvane::Status::NotReady);
    EXPECT_NE(error, solvane::Status::Write);

    Set("STAND_IN", "none");
    EXPECT_FALSE(solvane::CheckCameraPower(error));
    EXPECT_EQ(error, solvane::Status::NoHardware);
    EXPECT_STREQ(error.category().name(), "solvane");
}

TEST_F(CppBinding, QuestionsAreAnswered) {
    EXPECT_TRUE(solvane::CheckSystemReady());
    EXPECT_FALSE(solvane::CheckForcedBlackUpdate());
    EXPECT_TRUE(solvane::CheckCameraPower());
    EXPECT_TRUE(solvane::CheckAccessoriesPower());
    EXPECT_FALSE(solvane::CheckAndResetMepFlag());
}

TEST_F(CppBinding, LoggerLogsWhileItLives) {
    std::vector<std::string> lines;
    {
        const solvane::Logger logger([&](std::string_view line) { lines.emplace_back(line); });
        solvane::CloseDevice();
    }
    solvane::CloseDevice();
    EXPECT_THAT(lines, ElementsAre("[00:00:00.000] a line of the log", "Solvane_CloseDevice"));
}

TEST_F(CppBinding, ExceptionOfALogFunctionIsDropped) {
    int lines = 0;
    const solvane::Logger logger([&](std::string_view) {
        ++lines;
        throw std::runtime_error("disk full");
    });
    EXPECT_NO_THROW(solvane::CloseDevice());
    EXPECT_EQ(lines, 2);
}

TEST_F(CppBinding, SecondLoggerTakesOverAndTheFirstLeavesItAlone) {
    int first = 0;
    int second = 0;
    auto older = std::make_unique<solvane::Logger>([&](std::string_view) { ++first; });
    const solvane::Logger newer([&](std::string_view) { ++second; });
    older.reset();
    solvane::CloseDevice();
    EXPECT_EQ(first, 0);
    EXPECT_EQ(second, 2);
}

TEST_F(CppBinding, TimerThatCannotBeMade) {
    Set("STAND_IN", "none");
    EXPECT_THROW(solvane::Timer(), solvane::Error);
    std::error_code error;
    {
        solvane::Timer timer(error);
        EXPECT_EQ(error, solvane::Status::Undetermined);
        timer.Run(
            kPeriod, [](const solvane::TimerEvent&) {}, error);
        EXPECT_EQ(error, solvane::Status::Invalid);
    }
    EXPECT_THAT(Calls(), Not(Contains("Solvane_DisposeTimer")));
}

TEST_F(CppBinding, TimerRunsUntilItIsStoppedAndAgain) {
    std::vector<int> words;
    {
        solvane::Timer timer;
        for (int run = 0; run < 2; ++run) {
            timer.Run(kPeriod, [&](const solvane::TimerEvent& event) {
                words.push_back(event.data0);
                if (event.data0 == 3) {
                    timer.Stop();
                }
            });
        }
    }
    EXPECT_THAT(words, ElementsAre(1, 2, 3, 1, 2, 3));
    EXPECT_THAT(Calls(),
                ElementsAre("Solvane_CreateTimer", "Solvane_RunTimer", "Solvane_StopTimer",
                            "Solvane_RunTimer", "Solvane_StopTimer", "Solvane_DisposeTimer"));
}

TEST_F(CppBinding, StopBeforeTheRunEndsIt) {
    solvane::Timer timer;
    timer.Stop();
    int events = 0;
    timer.Run(kPeriod, [&](const solvane::TimerEvent&) { ++events; });
    EXPECT_EQ(events, 0);
}

TEST_F(CppBinding, LostStopIsRepeatedAtTheNextEvent) {
    Set("STAND_IN_LOST", "1000000"); // large, because stops of earlier tests count as well
    solvane::Timer timer;
    int events = 0;
    timer.Run(kPeriod, [&](const solvane::TimerEvent&) {
        ++events;
        timer.Stop();
        Set("STAND_IN_LOST", "0");
    });
    EXPECT_EQ(events, 1);
}

TEST_F(CppBinding, ExceptionEndsTheRunAndIsThrownOn) {
    solvane::Timer timer;
    int events = 0;
    const auto fail = [&](const solvane::TimerEvent&) {
        if (++events == 2) {
            throw std::out_of_range("out of event 2");
        }
    };
    EXPECT_THROW(timer.Run(kPeriod, fail), std::out_of_range);
    EXPECT_EQ(events, 2);
    EXPECT_NO_THROW(timer.Run(kPeriod, [&](const solvane::TimerEvent&) { timer.Stop(); }));
}

TEST_F(CppBinding, OneRunAtATime) {
    solvane::Timer timer;
    timer.Run(kPeriod, [&](const solvane::TimerEvent&) {
        std::error_code error;
        timer.Run(
            kPeriod, [](const solvane::TimerEvent&) {}, error);
        EXPECT_EQ(error, solvane::Status::Invalid);
        timer.Stop();
    });
}

TEST_F(CppBinding, DestructionWaitsForTheRunOfAnotherThread) {
    std::promise<void> begun;
    std::atomic<int> events{0};
    auto timer = std::make_unique<solvane::Timer>();
    std::thread runner([&, &running = *timer] {
        running.Run(kPeriod, [&](const solvane::TimerEvent&) {
            if (++events == 1) {
                begun.set_value();
            }
        });
    });
    begun.get_future().wait();
    timer.reset();
    const int before = events;
    runner.join();
    EXPECT_EQ(events, before);
    EXPECT_THAT(Calls(), Contains("Solvane_DisposeTimer"));
}

TEST_F(CppBinding, StopFromAnotherThreadIsNeverLost) {
    for (int round = 0; round < 20;
         ++round) { // so that the stop comes before, at or after the beginning of a run
        solvane::Timer timer;
        std::thread runner([&] { timer.Run(kPeriod, [](const solvane::TimerEvent&) {}); });
        std::this_thread::sleep_for(std::chrono::microseconds(round * 20));
        timer.Stop();
        runner.join();
    }
}

TEST_F(CppBinding, TimerMayBeDestroyedByItsOwnFunction) {
    auto timer = std::make_unique<solvane::Timer>();
    int events = 0;
    timer->Run(kPeriod, [&](const solvane::TimerEvent&) {
        ++events;
        timer.reset();
    });
    EXPECT_EQ(events, 1);
    EXPECT_EQ(Calls().back(), "Solvane_DisposeTimer");
}

} // namespace
