/// Every allocation of every exported function is refused. The library is a shared object with an
/// allocator of its own, loaded afresh for each case, so that only its own memory is refused.

#include <algorithm>
#include <array>
#include <cstdio>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <solvane/rig.h>

#include "com_stand_in.h"
#include "failing_memory.h"
#include "host_platform.h"
#include "kernel_stand_in.h"
#include "library_functions.h"

/// Each load of the module leaks its C++ library's reserve for exceptions. The leaks of the library
/// itself are counted here.
extern "C" const char* __lsan_default_options();
extern "C" const char* __lsan_default_options() {
    return "detect_leaks=0";
}

namespace {

using test::LibraryFunctions;

constexpr std::uint16_t kStampLength = sizeof "[HH:MM:SS.mmm] " - 1;

class Library : public LibraryFunctions {
  public:
    Library() : module(dlopen(SOLVANE_MODULE, RTLD_NOW | RTLD_LOCAL)) {
        if (module == nullptr) {
            std::fprintf(stderr, "%s\n", dlerror());
            std::abort();
        }
#define SOLVANE_LOOK_UP(name, ...) LookUp(name, "Solvane_" #name);
        SOLVANE_FUNCTIONS(SOLVANE_LOOK_UP)
#undef SOLVANE_LOOK_UP
        LookUp(runsOutOfMemory, "RunsOutOfMemory");
    }
    ~Library() {
        dlclose(module);
    }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;

    /// True if std::bad_alloc left the function.
    template <typename Function>
    bool RunsOutOfMemory(Function function) const {
        return runsOutOfMemory([](void* context) { (*static_cast<Function*>(context))(); },
                               &function);
    }

  private:
    template <typename Function>
    void LookUp(Function& function, const char* name) const {
        function = reinterpret_cast<Function>(dlsym(module, name));
        ASSERT_NE(function, nullptr) << name;
    }

    void* module;
    bool (*runsOutOfMemory)(void (*)(void*), void*) = nullptr;
};

struct Outcome {
    bool threw = false;
    std::int16_t status = 0;
    std::int16_t answer = kUnwritten;
    static constexpr std::int16_t kUnwritten = 55;

    bool operator==(const Outcome&) const = default;
};

/// An exported function of the lines. Its exceptions are caught in the library's own module.
struct Call {
    const char* name;
    int line;    ///< that it is about; NO_LINE
    short level; ///< that it leaves the line at
    bool asks;
    bool makesController;
    std::function<Outcome(const Library&)> run;
};

std::vector<Call> Calls() {
    std::vector<Call> calls;
#define SOLVANE_ADD(name, line, level, asks, makesController, statement)                           \
    calls.push_back({#name, line, level, asks, makesController, [](const Library& library) {       \
                         Outcome outcome;                                                          \
                         outcome.threw = library.RunsOutOfMemory([&] { statement; });              \
                         return outcome;                                                           \
                     }});
#define SOLVANE_COMMAND(name, failures, line, level)                                               \
    SOLVANE_ADD(name, line, level, false, false, outcome.status = library.name())
#define SOLVANE_QUESTION(name, failures, line, level)                                              \
    SOLVANE_ADD(name, line, level, true, false, outcome.status = library.name(&outcome.answer))
#define SOLVANE_CHOICE(name, failures, line, level)                                                \
    SOLVANE_ADD(name, line, level, false, true, outcome.status = library.name())
#define SOLVANE_ORDER(name, failures, line, level)                                                 \
    SOLVANE_ADD(name, line, level, false, true, library.name())
    SOLVANE_CONTROLLER_OPERATIONS(SOLVANE_COMMAND, SOLVANE_QUESTION)
    SOLVANE_CHOOSING_OPERATIONS(SOLVANE_CHOICE, SOLVANE_ORDER)
#undef SOLVANE_ADD
#undef SOLVANE_COMMAND
#undef SOLVANE_QUESTION
#undef SOLVANE_CHOICE
#undef SOLVANE_ORDER
    return calls;
}

/// The state before the call.
enum class Before {
    Nothing,      ///< it is the first call
    Configured,   ///< the hardware serves
    LongOpenLine, ///< and the next dot of the open line needs the heap
    Closed        ///< Solvane_CloseDevice
};

constexpr std::array kBefore{Before::Nothing, Before::Configured, Before::LongOpenLine,
                             Before::Closed};

struct Hardware {
    const char* name;
    const char* scenario;
    std::size_t candidates; ///< created before it is found
    std::size_t cases;      ///< expected number

    /// In how many cases a single refusal leaves a call as an exception: for a candidate, or for
    /// the list of candidates. As the first call of a process in nineteen calls, with a log and
    /// without; in the other five states only in the calls that create a controller.
    std::size_t Exceptions() const {
        const std::size_t ofChoosing = candidates + 1; // RecheckStatus, EnforceFTDI
        return 2 * (19 * (1 + candidates) + ofChoosing) + 5 * ofChoosing;
    }
};

class EveryAllocationTest : public testing::TestWithParam<Hardware> {
  protected:
    EveryAllocationTest() { host::Record(false); }

    /// The lines of the host, without their stamps.
    static void SOLVANE_CALL Keep(void* context, const char* line) {
        static_cast<std::vector<std::string>*>(context)->emplace_back(line);
    }

    struct Result {
        std::size_t allocations = 0; ///< that the call asked for
        Outcome outcome;
        std::string wrong; ///< the complaints
    };

    /// The call, in a fresh library on fresh hardware, with these allocations refused.
    static Result Run(const Call& call, Before before, bool listens, std::size_t first,
                      std::size_t times, std::size_t another = 0) {
        Result result;
        std::vector<std::string> lines;
        EXPECT_EQ(rig_load(GetParam().scenario), 0) << rig_error();
        const std::size_t heldBefore = Allocations() - Releases();
        {
            const Library library;
            library.SetLogger(&lines, listens ? Keep : nullptr);
            Prepare(library, before);
            lines.clear();
            const std::uint32_t captures = rig_captures();
            const std::size_t allocationsBefore = Allocations();
            {
                const FailingMemory memory(first, times, another);
                result.outcome = call.run(library);
                result.allocations = Allocations() - allocationsBefore + memory.Refusals();
            }
            result.wrong = WhatIsWrong(library, call, before, result.outcome, captures, lines);
            library.SetLogger(nullptr, nullptr);
        }
        if (Allocations() - Releases() != heldBefore) {
            result.wrong += " memory is left behind;";
        }
        return result;
    }

  private:
    static void Prepare(const Library& library, Before before) {
        if (before == Before::Nothing) {
            return;
        }
        EXPECT_EQ(library.CheckAvailable(), 0);
        if (before == Before::LongOpenLine) {
            // With its stamp the row of dots fills the usual room but for one more.
            std::int16_t answer = 0;
            for (int i = 0; i < 240 - 15 - 1; ++i) {
                library.CheckSystemReady(&answer);
            }
        }
        if (before == Before::Closed) {
            EXPECT_EQ(library.CloseDevice(), 0);
        }
    }

    static std::string WhatIsWrong(const Library& library, const Call& call, Before before,
                                   const Outcome& outcome, std::uint32_t capturesBefore,
                                   std::vector<std::string>& lines) {
        std::string wrong;
        const auto note = [&](bool isWrong, const char* what) {
            wrong += isWrong ? std::string(" ") + what + ";" : "";
        };
        note(rig_level(RIG_TRIGGER) != 0, "the trigger is high");
        note(host::RaisedTimerPeriods() != 0, "the timer resolution stays raised");
        note(host::com::Initialisations() != 0, "COM stays initialised");
        note(host::com::AliveStrings() != 0, "a text of COM is left");
        note(rig_wbem_interfaces() != 0, "an interface is left");
        note(outcome.threw && !call.makesController && before != Before::Nothing,
             "an exception left a call that makes no controller");
        note(outcome.answer != Outcome::kUnwritten && outcome.status != 0, "an answer without 0");
        note(outcome.status != 0 && outcome.status != SOLVANE_E_NO_HARDWARE,
             "a status that lack of memory does not explain");
        note(!outcome.threw && outcome.status == 0 && call.line != NO_LINE && !call.asks &&
                 rig_level(static_cast<rig_line>(call.line)) != call.level,
             "0, and the line is not where it should be");
        const bool isTrigger = std::string(call.name) == "TriggerCapture";
        const std::uint32_t pictures = rig_captures() - capturesBefore;
        note(isTrigger && !outcome.threw && outcome.status == 0 && pictures != 1,
             "0, and no picture");
        note((!isTrigger || outcome.threw || outcome.status != 0) && pictures != 0,
             "an unrequested picture");
        for (const std::string& line : lines) {
            note(!line.empty() && (line.size() < kStampLength || line[0] != '[' ||
                                   line[kStampLength - 2] != ']'),
                 "a line without its stamp");
        }

        // With memory again everything works, and every line is whole.
        host::Advance(std::uint64_t{600} * 1'000'000);
        library.EnableCameraPower(); // the call may have switched it off
        host::Advance(std::uint64_t{600} * 1'000'000);
        lines.clear();
        note(library.RecheckStatus() != 0, "re-selection fails afterwards");
        note(rig_captures() - capturesBefore != pictures, "a picture taken by re-selection");
        for (const std::string& line : lines) {
            note(line.ends_with("] ") || (line.size() >= kStampLength && line[0] != '['),
                 "a line that is not whole afterwards");
        }
        note(library.EnableCameraPower() != 0, "power cannot be switched afterwards");
        host::Advance(std::uint64_t{600} * 1'000'000);
        note(library.TriggerCapture() != 0, "the next trigger fails");
        note(rig_captures() - capturesBefore != pictures + 1, "the next trigger takes no picture");
        return wrong;
    }
};

/// Each allocation refused once, from then on, and each pair of them.
TEST_P(EveryAllocationTest, IsRefusedAndNothingIsLeftHalfDone) {
    std::size_t cases = 0;
    std::size_t good = 0;
    std::size_t exceptions = 0;
    for (const Call& call : Calls()) {
        for (const Before before : kBefore) {
            for (const bool listens : {false, true}) {
                if (before == Before::LongOpenLine && !listens) {
                    continue; // there is no line
                }
                const Result undisturbed = Run(call, before, listens, 0, 0);
                ASSERT_EQ(undisturbed.wrong, "") << call.name;
                const Outcome expected = undisturbed.outcome;
                const auto check = [&](std::size_t first, std::size_t times, std::size_t second) {
                    Result result = Run(call, before, listens, first, times, second);
                    const bool isDone = !result.outcome.threw && result.outcome.status == 0;
                    if (isDone && result.outcome != expected) {
                        result.wrong += " 0, and another answer;";
                    }
                    ++cases;
                    exceptions += result.outcome.threw && times == 1 && second == 0 ? 1 : 0;
                    good += result.wrong.empty() ? 1 : 0;
                    EXPECT_EQ(result.wrong, "")
                        << call.name << ", state " << static_cast<int>(before)
                        << (listens ? ", with a log" : "") << ", allocation " << first << ", times "
                        << times << ", and " << second;
                };
                for (std::size_t first = 1; first <= undisturbed.allocations; ++first) {
                    check(first, 1, 0);
                    check(first, FailingMemory::kForEver, 0);
                    for (std::size_t second = first + 1; second <= undisturbed.allocations;
                         ++second) {
                        check(first, 1, second);
                    }
                }
            }
        }
    }
    std::printf("%s: %zu of %zu allocations refused without harm\n", GetParam().name, good, cases);
    EXPECT_EQ(cases, GetParam().cases);
    EXPECT_EQ(exceptions, GetParam().Exceptions());
}

/// One allocation of the first call is refused.
class RefusedAllocationTest : public testing::Test {
  protected:
    RefusedAllocationTest() { host::Record(false); }

    static std::vector<std::string> LinesOfFirstCall(const char* scenario, std::size_t allocation) {
        std::vector<std::string> lines;
        EXPECT_EQ(rig_load(scenario), 0) << rig_error();
        const Library library;
        library.SetLogger(&lines, [](void* context, const char* line) {
            const std::string text(line);
            static_cast<std::vector<std::string>*>(context)->push_back(
                text.substr(std::min<std::size_t>(text.size(), kStampLength)));
        });
        {
            const FailingMemory memory(allocation, 1);
            library.CheckAvailable();
            EXPECT_EQ(memory.Refusals(), 1u);
        }
        library.SetLogger(nullptr, nullptr);
        return lines;
    }
};

/// After the list of candidates and the four candidates comes the list of devices. The call itself
/// looks for the chip once more.
TEST_F(RefusedAllocationTest, OfTheDeviceListIsLoggedLikeAFailureOfD2xx) {
    const std::vector<std::string> lines =
        LinesOfFirstCall("[[usb]]\nchip = \"FT2232H\"\nserial = \"SLV1\"\n", 6);
    const std::vector<std::string> logged{"Total FTDI devices available:  2",
                                          "Failed to obtain FTDI devices info list. Error: 5",
                                          "Configure() result: -3", "... not available. Error -3"};
    EXPECT_NE(std::search(lines.begin(), lines.end(), logged.begin(), logged.end()), lines.end());
    EXPECT_EQ(lines.back(), "Configure() result: 0");
}

/// After the list of candidates and two candidates comes the bank.
TEST_F(RefusedAllocationTest, OfTheSuperIoBankIsReportedByTheStatusAlone) {
    const std::vector<std::string> lines = LinesOfFirstCall("[superio]\n", 4);
    ASSERT_GE(lines.size(), 9u);
    const std::vector<std::string> of(lines.begin() + 5, lines.begin() + 8);
    EXPECT_EQ(of, (std::vector<std::string>{
                      "Controller candidate been created. Checking H/W availability...",
                      "[MOBO]: Configure() result: -3", "... not available. Error -3"}));
}

INSTANTIATE_TEST_SUITE_P(
    On, EveryAllocationTest,
    testing::Values(Hardware{"FT2232H", "[[usb]]\nchip = \"FT2232H\"\nserial = \"SLV1\"\n", 4,
                             1403},
                    Hardware{"SuperIO", "[superio]\n", 2, 657},
                    Hardware{"EmbeddedAPI", "[eapi]\n", 3, 641},
                    Hardware{"ParallelPort", "[lpt]\n", 1, 226}),
    [](const auto& test) { return test.param.name; });

// ---- Timers ----

/// A driver that creates timer 7 and has an event for each wait, every other one with an unknown
/// status, which is logged.
host::kernel::Answer Serve(const char* request, std::uint64_t) {
    static int events = 0;
    if (request == std::string(host::kernel::kCreateRequest)) {
        return {0, std::vector<std::uint8_t>{7, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}};
    }
    std::vector<std::uint8_t> event(24);
    event[8] = ++events % 2 != 0 ? 99 : 0;
    return {0, event};
}

enum class TimerCall { Create, Run, RunThatFails, Stop, Dispose };
constexpr std::array kTimerCalls{TimerCall::Create, TimerCall::Run, TimerCall::RunThatFails,
                                 TimerCall::Stop, TimerCall::Dispose};

class EveryAllocationOfTimersTest : public testing::Test {
  protected:
    EveryAllocationOfTimersTest() { host::Record(false); }

    struct Result {
        std::size_t allocations = 0;
        std::string wrong;
    };

    static Result Run(TimerCall call, bool hasDriver, bool listens, std::size_t first,
                      std::size_t times, std::size_t another) {
        Result result;
        const auto note = [&](bool isWrong, const char* what) {
            result.wrong += isWrong ? std::string(" ") + what + ";" : "";
        };
        host::kernel::Reset();
        host::kernel::script.driver = Serve;
        // Longer than a usual line, so that it needs the heap, in the exception and in the log.
        host::kernel::script.systemText = std::wstring(300, L'x') + L"\r\n";
        const std::size_t heldBefore = Allocations() - Releases();
        {
            const Library loaded;
            library = &loaded;
            std::vector<std::string> lines;
            loaded.SetLogger(&lines, listens ? Keep : nullptr);
            SolvaneTimerHandle timer = 0;
            if (call != TimerCall::Create) {
                note(loaded.CreateTimer(&timer, 0) != 0, "no timer to begin with");
            }
            host::kernel::script.createFileError = hasDriver ? 0 : 2;
            host::kernel::script.createEventError = call == TimerCall::RunThatFails ? 8 : 0;

            std::int16_t status = 0;
            const std::size_t allocationsBefore = Allocations();
            {
                const FailingMemory memory(first, times, another);
                note(loaded.RunsOutOfMemory([&] { status = Do(call, timer); }),
                     "an exception left the call");
                result.allocations = Allocations() - allocationsBefore + memory.Refusals();
            }
            const bool mustFail =
                call == TimerCall::RunThatFails || (call == TimerCall::Create && !hasDriver);
            note(mustFail && status != SOLVANE_E_UNDETERMINED, "a failure is not reported");
            note(call == TimerCall::Stop && status != SOLVANE_E_INVALID, "a stop of nothing");
            note(call == TimerCall::Dispose && status != 0, "not disposed of");
            note((call == TimerCall::Create || call == TimerCall::Run) && status != 0 &&
                     status != SOLVANE_E_UNDETERMINED,
                 "an undocumented status");
            note(call == TimerCall::Create && (status == 0) != (timer != 0),
                 "the handle contradicts the status");

            // With memory and driver again everything works.
            host::kernel::script.createFileError = 0;
            host::kernel::script.createEventError = 0;
            if (call == TimerCall::Dispose || timer == 0) {
                note(loaded.CreateTimer(&timer, 0) != 0, "no timer can be created afterwards");
            }
            note(Do(TimerCall::Run, timer) != 0, "a timer does not run afterwards");
            lines.clear();
            note(loaded.DisposeTimer(timer) != 0, "a timer cannot be disposed of afterwards");
            for (const std::string& line : lines) {
                note(line.substr(kStampLength) !=
                         "Error. Solvane_StopTimer() timer was not started. ",
                     "a line that is not whole afterwards");
            }
            loaded.SetLogger(nullptr, nullptr);
        }
        note(host::kernel::OpenHandles() != 0, "a handle stays open");
        note(host::kernel::AllocatedTexts() != 0, "a text of the system's is left");
        note(Allocations() - Releases() != heldBefore, "memory is left behind");
        return result;
    }

  private:
    static void SOLVANE_CALL Keep(void* context, const char* line) {
        static_cast<std::vector<std::string>*>(context)->emplace_back(line);
    }

    static std::int16_t Do(TimerCall call, SolvaneTimerHandle& timer) {
        switch (call) {
        case TimerCall::Create:
            return library->CreateTimer(&timer, 0);
        case TimerCall::Stop:
            return library->StopTimer(timer);
        case TimerCall::Dispose:
            return library->DisposeTimer(timer);
        default:
            static SolvaneTimerHandle running;
            static int events;
            running = timer;
            events = 0;
            return library->RunTimer(timer, 1, [](std::uint64_t, const SolvaneTimerEvent*) {
                if (++events == 3) {
                    library->StopTimer(running);
                }
            });
        }
    }

    inline static const Library* library = nullptr;
};

TEST_F(EveryAllocationOfTimersTest, IsRefusedAndNothingIsLeftHalfDone) {
    constexpr std::size_t kCases = 117;
    std::size_t cases = 0;
    std::size_t good = 0;
    for (const TimerCall call : kTimerCalls) {
        for (const bool hasDriver : {true, false}) {
            for (const bool listens : {false, true}) {
                if (!hasDriver && call != TimerCall::Create) {
                    continue;
                }
                const Result undisturbed = Run(call, hasDriver, listens, 0, 0, 0);
                ASSERT_EQ(undisturbed.wrong, "") << static_cast<int>(call);
                for (std::size_t first = 1; first <= undisturbed.allocations; ++first) {
                    const auto check = [&](std::size_t times, std::size_t another) {
                        const Result result = Run(call, hasDriver, listens, first, times, another);
                        ++cases;
                        good += result.wrong.empty() ? 1 : 0;
                        EXPECT_EQ(result.wrong, "")
                            << "call " << static_cast<int>(call) << (hasDriver ? "" : ", no driver")
                            << (listens ? ", with a log" : "") << ", allocation " << first
                            << ", times " << times << ", and " << another;
                    };
                    check(1, 0);
                    check(FailingMemory::kForEver, 0);
                    for (std::size_t another = first + 1; another <= undisturbed.allocations;
                         ++another) {
                        check(1, another);
                    }
                }
            }
        }
    }
    std::printf("timers: %zu of %zu allocations refused without harm\n", good, cases);
    EXPECT_EQ(cases, kCases);
}

} // namespace
