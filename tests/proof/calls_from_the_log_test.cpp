/// Every function of the library, called from inside the log function in every line of every
/// operation.

#include <csignal>
#include <cstdio>
#include <map>
#include <stdexcept>
#include <thread>
#include <utility>

#include <unistd.h>

#include "fresh_process.h"
#include "proof_kinds.h"
#include "reentrant_host.h"

namespace proof {

namespace {

using SLV::Internal::GetLibraryState;

/// The state before the operation.
enum class Before { Configured, NeverAsked, Closed };

class CallsFromTheLogTest : public ReentrantHost, public testing::WithParamInterface<Kind> {
  protected:
    struct Outcome {
        short status;
        std::int16_t answer;
        test::Journal edges;
        bool operator==(const Outcome&) const = default;
    };

    void StartIn(Before before) {
        Start(GetParam().scenario);
        if (before == Before::NeverAsked) {
            GetLibraryState().controller = GetParam().make(SLV::Internal::s_logger);
        } else if (before == Before::Closed) {
            EXPECT_EQ(Solvane_CloseDevice(), 0);
        }
        rig_journal_clear();
    }

    /// Performs the operation, with a nested call in its n-th line.
    Outcome Do(const Operation& operation, std::size_t line, std::function<void()> inside) {
        log.Expect(line, std::move(inside));
        Outcome outcome{0, kUntouched, {}};
        outcome.status = CallExport(operation, &outcome.answer);
        outcome.edges = TakeEdges();
        return outcome;
    }

    /// A line in which the log function is called.
    struct Place {
        const Operation& operation;
        Before before;
        std::size_t line; ///< of the operation, counted from 1
        std::string text;
        const Outcome& alone; ///< of the operation without a nested call
    };

    /// Every line of every operation in every state.
    template <typename Each>
    void ForEachPlace(Each each) {
        for (const Before before : {Before::Configured, Before::NeverAsked, Before::Closed}) {
            if (before == Before::Closed && !GetParam().behaviour.isUsb) {
                continue;
            }
            for (const Operation& operation : kOperations) {
                if (operation.run == nullptr && before != Before::Configured) {
                    continue; // they begin with a new controller in any case
                }
                StartIn(before);
                const Outcome alone = Do(operation, 0, nullptr);
                const std::vector<std::string> lines = log.outside;
                for (std::size_t line = 1; line <= lines.size(); ++line) {
                    SCOPED_TRACE(std::string(operation.name) + " in state " +
                                 std::to_string(static_cast<int>(before)) + ", line " +
                                 std::to_string(line) + ": " + lines[line - 1]);
                    each(Place{operation, before, line, lines[line - 1], alone});
                }
            }
        }
    }

    void CheckCall(const Place& place, const NestedCall& inside) {
        const Operation& outside = place.operation;
        StartIn(place.before);
        short status = 0;
        const Outcome outcome = Do(outside, place.line, [&] { status = inside.run(); });
        EXPECT_TRUE(log.IsDone());
        EXPECT_TRUE(outside.MayAnswer(outcome.status)) << outcome.status;
        EXPECT_EQ(outcome.answer != kUntouched, outside.hasAnswer && outcome.status == 0);
        if (inside.operation == nullptr) {
            EXPECT_EQ(status, inside.expected);
            EXPECT_EQ(outcome, place.alone) << "what is not about the lines changed them";
        } else {
            // While the parallel port is being looked for, every call answers "undetermined".
            const bool isLookedFor = outside.run == nullptr || place.before == Before::NeverAsked;
            EXPECT_TRUE(inside.operation->MayAnswer(status) ||
                        (isLookedFor && status == SOLVANE_E_UNDETERMINED))
                << status;
            if (place.before == Before::Configured && outside.run != nullptr) {
                CheckOnConfigured(place, outcome, *inside.operation, status);
            }
            EXPECT_TRUE(rig_level(RIG_TRIGGER) == 0 || (outside.op == Op::TriggerCapture &&
                                                        inside.operation->op == Op::CloseDevice &&
                                                        outcome.status == SOLVANE_E_WRITE))
                << "the trigger stays high";
        }
        EXPECT_EQ(WhatIsWrongAfterwards(), "");
    }

    /// A nested question does not change the outer call. 0 means done, unless both calls concern
    /// the same line or the nested one closes the chip.
    static void CheckOnConfigured(const Place& place, const Outcome& outcome,
                                  const Operation& inside, short insideStatus) {
        if (inside.hasAnswer) {
            EXPECT_EQ(insideStatus, 0);
            EXPECT_EQ(outcome, place.alone) << "a question changed what the call did";
        }
        const Operation& outside = place.operation;
        const auto checkDone = [&](const Operation& operation, short status) {
            if (status == 0 && operation.line != NO_LINE && !operation.hasAnswer) {
                EXPECT_EQ(rig_level(static_cast<rig_line>(operation.line)), operation.level)
                    << operation.name << " answered 0";
            }
        };
        if (inside.op != Op::CloseDevice && outside.line != inside.line) {
            checkDone(outside, outcome.status);
            checkDone(inside, insideStatus);
        }
    }

    /// Log lines of all operations in all states.
    static std::size_t Lines() {
        return std::map<std::string, std::size_t>{
            {"FT2232H", 200}, {"Super I/O", 147}, {"Embedded API", 34}, {"Parallel port", 54}}
            .at(GetParam().name);
    }

    std::size_t calls = 0;
};

TEST_P(CallsFromTheLogTest, EndWithDocumentedStatusesAndTheHardwareServes) {
    const std::vector<NestedCall> all = AllCalls();
    ForEachPlace([&](const Place& place) {
        for (const NestedCall& inside : all) {
            if (inside.operation == nullptr || inside.operation->run != nullptr) {
                SCOPED_TRACE(inside.name);
                CheckCall(place, inside);
                ++calls;
            }
        }
    });
    std::printf("%s: %zu calls from inside a line\n", GetParam().name, calls);
    constexpr std::size_t kCalls = 17 + 2 + 4; // SetLogger twice
    EXPECT_EQ(calls, Lines() * kCalls);
}

/// Lines that destructors log: an exception there ends the process.
bool IsOfARelease(const std::string& text, bool mayRelease) {
    return mayRelease &&
           (text.ends_with("] Closing device...") || text.ends_with("] [KTRN]: deleted.") ||
            text.empty() || text.find("] [EAPI]: EApiLibUnInitialize error ") != text.npos);
}

TEST_P(CallsFromTheLogTest, ExceptionsReachTheHost) {
    ForEachPlace([&](const Place& place) {
        StartIn(place.before);
        const auto fail = [] { throw std::runtime_error("of the host"); };
        if (IsOfARelease(place.text, place.operation.run == nullptr)) {
            EXPECT_EXIT(Do(place.operation, place.line, fail), testing::KilledBySignal(SIGABRT),
                        "");
        } else {
            EXPECT_THROW(Do(place.operation, place.line, fail), std::runtime_error);
            EXPECT_TRUE(rig_level(RIG_TRIGGER) == 0 || place.operation.op == Op::TriggerCapture)
                << "the trigger stays high";
        }
        EXPECT_EQ(WhatIsWrongAfterwards(), "");
        ++calls;
    });
    std::printf("%s: %zu exceptions\n", GetParam().name, calls);
    EXPECT_EQ(calls, Lines());
}

/// A host's mistake that the header names.
TEST_P(CallsFromTheLogTest, ReplacingTheControllerFreesItUnderTheOuterCall) {
    if (!kHasAddressSanitizer) {
        GTEST_SKIP() << "seen with AddressSanitizer alone";
    }
    for (const Op replacement : {Op::RecheckStatus, Op::EnforceFTDI}) {
        StartIn(Before::NeverAsked);
        EXPECT_DEATH(Do(test::Of(Op::CheckAvailable), 1,
                        [&] { CallExport(test::Of(replacement), nullptr); }),
                     kUseAfterFree);
    }
    GetLibraryState().controller.reset();
}

/// A host's mistake that the header names: two calls open the chip, and neither can use it.
TEST_F(ReentrantHost, OpensTheChipTwiceAndLosesIt) {
    Start(test::kUsbCamera);
    EXPECT_EQ(Solvane_CloseDevice(), 0);
    std::int16_t ready = 0;
    log.Expect(1, [&] { EXPECT_EQ(Solvane_CheckSystemReady(&ready), 0); });
    EXPECT_EQ(Solvane_CheckAvailable(), SOLVANE_E_NO_HARDWARE);
    EXPECT_EQ(Solvane_CheckAvailable(), SOLVANE_E_NO_HARDWARE) << "from now on";
    EXPECT_EQ(WhatIsWrongAfterwards(), "") << "but for a re-selection";
}

/// The first call of a process. Death tests run before all others.
class FirstCallDeathTest : public testing::Test {
  protected:
    /// Makes a nested call in its first line.
    static void CallFirst(std::function<void()> inside) {
        EXPECT_EQ(rig_load(test::kUsbCamera), 0);
        static ReentrantLog log;
        log.Expect(1, std::move(inside));
        Solvane_SetLogger(&log, ReentrantLog::Receive);
        EXPECT_EQ(Solvane_CheckAvailable(), 0);
        EXPECT_TRUE(log.IsDone());
        Solvane_SetLogger(nullptr, nullptr);
    }
};

/// A host's mistake that the header names: the nested call waits for the outer one.
TEST_F(FirstCallDeathTest, NeverReturnsWhenItsLogAsksForTheHardware) {
    for (const Operation& operation : kOperations) {
        EXPECT_EXIT(CallFirst([&] {
                        std::thread([] {}).join(); // in a program of one thread it ends at once
                        std::int16_t answer = 0;
                        ualarm(50'000, 0); // a call that does not wait is back in a fraction
                        CallExport(operation, &answer);
                        std::fputs("is back", stderr);
                        std::_Exit(0);
                    }),
                    testing::KilledBySignal(SIGALRM), "^$")
            << operation.name;
    }
}

TEST_F(FirstCallDeathTest, BeginsAfreshAfterAnException) {
    test::InFreshProcess([] {
        EXPECT_THROW(CallFirst([] { throw std::runtime_error("of the host"); }),
                     std::runtime_error);
        EXPECT_EQ(Solvane_TriggerCapture(), 0);
        EXPECT_EQ(rig_captures(), 1u);
    });
}

TEST_F(FirstCallDeathTest, ServesALogThatChangesItself) {
    test::InFreshProcess([] {
        CallFirst([] { Solvane_SetLogger(nullptr, nullptr); });
        EXPECT_EQ(Solvane_TriggerCapture(), 0);
    });
}

INSTANTIATE_TEST_SUITE_P(On, CallsFromTheLogTest, testing::ValuesIn(Kinds()), TestName);

} // namespace

} // namespace proof
