/// The chip is unplugged, falls silent or answers with errors before every call of every operation,
/// and comes back at once, after 20 ms or after 5 s. The operation ends with a documented status
/// and a safe answer, and one question brings the chip back.

#include <iostream>
#include <random>

#include "bit_port.h"
#include "excuses.h"
#include "host_platform.h"
#include "on_the_rig.h"
#include "proof_kinds.h"
#include "proof_operations.h"
#include "solvane_usb.h"

namespace {

using namespace proof;
using namespace test;
using SLV::Internal::SolvaneUsb;

constexpr std::uint64_t kMillisecond = 1'000'000;

constexpr std::uint64_t kNever = ~std::uint64_t{0};
constexpr std::uint32_t kError = RIG_FAULT_STATUS;
constexpr std::uint32_t kSilence = RIG_FAULT_SILENT;
constexpr std::uint32_t kIoError = 4; // of D2XX

constexpr const char* kCamera = "[camera]\nmep_latched = true\nready_after_power_ms = 100\n";

enum class Absence { Unplugged, Silent, Failing };
constexpr Absence kAbsences[] = {Absence::Unplugged, Absence::Silent, Absence::Failing};
constexpr const char* kAbsenceNames[] = {"unplugged", "silent", "failing"};
constexpr std::uint32_t kMillisecondsAway[] = {0, 20, 5000};

struct Case {
    const Operation* operation;
    bool isConfigured;
    std::uint32_t call;   ///< of any function, since the scenario began
    std::uint64_t callAt; ///< in ms
    Absence absence;
    std::uint32_t away;
    std::string question; ///< the function and arguments of that call
};

std::string Text(const Case& one) {
    return std::string(one.operation->name) + (one.isConfigured ? ", configured" : ", fresh") +
           ", " + kAbsenceNames[static_cast<int>(one.absence)] + " before call " +
           std::to_string(one.call) + " for " + std::to_string(one.away) + " ms";
}

class EveryUnplugTest : public OnTheRig {
  protected:
    EveryUnplugTest() {
        host::Record(false);
        logger.Install(this, [](void* context, const char*) {
            static_cast<EveryUnplugTest*>(context)->ComeBackWhenDue();
        });
    }

    void Start(bool isConfigured, const std::string& events) {
        controller.reset();
        ResetProcessState();
        Load(std::string(kUsbCamera) + kCamera + events);
        controller = std::make_unique<SolvaneUsb>(logger);
        if (isConfigured) {
            controller->CheckAvailable();
        }
    }

    /// Called with every log line, of which the library writes some while it waits.
    void ComeBackWhenDue() {
        if (host::Now() >= backAt) {
            rig_clear_faults();
        }
    }

    static std::string Events(const Case& one) {
        if (one.absence != Absence::Unplugged) {
            return "";
        }
        const std::string before = "before = \"*\"\ncall = " + std::to_string(one.call) + "\n";
        const std::string back =
            one.away == 0 ? before : "at_ms = " + std::to_string(one.callAt + one.away) + "\n";
        return "[[event]]\n" + before + "action = \"unplug\"\n[[event]]\n" + back +
               "action = \"plug\"\n";
    }

    /// Plans a chip that stays on the bus and does nothing.
    void FallSilent(const Case& one) {
        const bool isSilent = one.absence == Absence::Silent;
        const rig_fault fault{"*",
                              one.call,
                              one.away == 0 ? 1u : 0u,
                              isSilent ? kSilence : kError,
                              isSilent ? 0u : kIoError,
                              0};
        ASSERT_EQ(rig_add_fault(&fault), 0);
        if (one.away != 0) {
            const std::uint64_t began = host::Now() - rig_time();
            backAt = began + (one.callAt + one.away) * kMillisecond;
        }
    }

    std::string Try(const Case& one) {
        backAt = kNever;
        Start(one.isConfigured, Events(one));
        if (one.absence != Absence::Unplugged) {
            FallSilent(one);
        }
        const std::uint64_t before = rig_time();
        const Postcondition postcondition(kChip, *one.operation, !one.isConfigured);
        short answer = kUntouched;
        const short status = one.operation->run(*controller, &answer);
        const std::uint64_t took = rig_time() - before;
        longest = std::max(longest, took);
        (status == 0 ? recovered : refused) += 1;
        if (std::string complaint = Complaint(one, status, answer); !complaint.empty()) {
            return complaint;
        }
        const Violation violation = status == 0 ? postcondition.Check(answer) : Violation::None;
        if (violation != Violation::None) {
            const Excuse excuse =
                ExcuseForAbsence(*one.operation, one.question, one.absence == Absence::Silent,
                                 one.away == 0, violation);
            ++excused[static_cast<std::size_t>(excuse)];
            if (excuse == Excuse::None) {
                return std::string("0, and not as asked: ") + Name(violation);
            }
        }
        if (took > kLongest * kMillisecond) {
            return std::to_string(took / kMillisecond) + " ms";
        }
        if (one.absence == Absence::Unplugged && rig_level(RIG_TRIGGER) != 0) {
            return "the trigger stays high"; // an unplugged chip drives nothing
        }
        rig_clear_faults();
        host::Advance(6000 * kMillisecond);
        return one.absence == Absence::Unplugged ? ComesBackByItself() : ComesBackAfresh();
    }

    static std::string Complaint(const Case& one, short status, short answer) {
        if (!one.operation->MayAnswer(status)) {
            return "undocumented status " + std::to_string(status);
        }
        if (host::RaisedTimerPeriods() != 0) {
            return "the timer resolution stays raised";
        }
        const Op op = one.operation->op;
        if (status != 0 || !test::Of(op).hasAnswer) {
            return answer == kUntouched ? "" : "an answer with status " + std::to_string(status);
        }
        if (answer != 0 && answer != 1) {
            return "answer " + std::to_string(answer);
        }
        return "";
    }

    /// The first question finds a chip that was plugged in again.
    std::string ComesBackByItself() {
        short ready = kUntouched;
        if (controller->CheckSystemReady(&ready) != 0 || ready != rig_level(RIG_READY)) {
            return "no true answer again";
        }
        return Service();
    }

    std::string ComesBackAfresh() {
        controller = nullptr; // closes the channel
        controller = std::make_unique<SolvaneUsb>(logger);
        if (controller->CheckAvailable() != 0) { // that failed
            ++replugged;
            rig_unplug(0);
            rig_plug(0);
        }
        return Service();
    }

    std::string Service() {
        controller->EnableCameraPower();
        host::Advance(1000 * kMillisecond);
        const std::uint32_t captures = rig_captures();
        if (controller->TriggerCapture() != 0 || rig_captures() != captures + 1) {
            return "no picture again";
        }
        return rig_level(RIG_TRIGGER) == 0 ? "" : "the trigger stays high";
    }

    /// A case for each call of the operation and each absence.
    std::vector<Case> Cases(const Operation& operation, bool isConfigured) {
        backAt = kNever;
        Start(isConfigured, "");
        const std::uint32_t before = rig_calls(nullptr);
        short answer = kUntouched;
        operation.run(*controller, &answer);
        std::vector<Case> cases;
        std::uint32_t call = 0;
        rig_entry entry{};
        for (std::size_t i = 0; rig_journal_entry(i, &entry) == 0; ++i) {
            if (entry.kind != RIG_CALL || ++call <= before) {
                continue;
            }
            const std::string text = entry.text;
            const std::string question = text.substr(0, text.find(')') + 1);
            for (const Absence absence : kAbsences) {
                for (const std::uint32_t away : kMillisecondsAway) {
                    cases.push_back({&operation, isConfigured, call, entry.time / kMillisecond,
                                     absence, away, question});
                }
            }
        }
        return cases;
    }

    std::unique_ptr<SolvaneUsb> controller;
    std::uint64_t backAt = kNever;
    std::uint64_t longest = 0;
    std::size_t recovered = 0;
    std::size_t refused = 0;
    std::size_t replugged = 0;
    ExcuseCounts excused{};
    const Kind& kChip = Kinds().front();
};

TEST_F(EveryUnplugTest, IsSurvivedByEveryOperation) {
    std::size_t all = 0;
    std::size_t good = 0;
    for (const Operation& operation : kControllerOperations) {
        for (const bool isConfigured : {false, true}) {
            for (const Case& one : Cases(operation, isConfigured)) {
                const std::string wrong = Try(one);
                ++all;
                good += wrong.empty() ? 1 : 0;
                if (!wrong.empty() && all - good <= 20) {
                    ADD_FAILURE() << Text(one) << ": " << wrong;
                }
            }
        }
    }
    EXPECT_EQ(good, all);
    EXPECT_EQ(all, 3'402u);
    EXPECT_EQ(excused, (ExcuseCounts{0, 17, 0, 0, 130, 34, 112, 9, 0}));
    std::cout << "FT2232H: " << good << " of " << all << " absences; " << recovered
              << " operations answered 0, " << refused << " a documented failure; longest "
              << longest / kMillisecond << " ms, replugged after a lost close " << replugged
              << '\n';
}

/// Stray bytes wait in the queue, and counts are wrong: the operation ends as documented, and the
/// chip serves again.
class NoiseTest : public EveryUnplugTest {
  protected:
    /// Answers to reads of either byte and to invalid commands.
    void LeaveBytes() {
        for (std::size_t i = random() % 4 + 1; i > 0; --i) {
            const auto none = static_cast<std::uint8_t>(random() % 128);
            std::uint8_t commands[] = {0x81, 0x83, none};
            std::uint32_t written = 0;
            FT_Write(SLV::Internal::s_ft_handle, &commands[random() % 3], 1, &written);
        }
        host::Advance(kMillisecond * (random() % 3));
    }

    void CountWrong() {
        for (const char* const function :
             {"FT_GetQueueStatus", "FT_CreateDeviceInfoList", "FT_GetDeviceInfoList"}) {
            const auto call = static_cast<std::uint32_t>(random() % 4 + 1);
            FailCount(function, call, static_cast<std::uint32_t>(random() >> random() % 32));
        }
    }

    /// A chip that is not found any more gets the safe answer; a stray byte is taken for the
    /// answer, and written back.
    static Excuse ExcuseForNoise(Violation violation) {
        switch (violation) {
        case Violation::SafeAnswer:
            return Excuse::Unreadable;
        case Violation::Line:
        case Violation::OtherLine:
            return Excuse::WrongByte;
        default:
            return Excuse::None;
        }
    }

    static constexpr unsigned kSeed = 20;
    std::mt19937 random{kSeed};
};

TEST_F(NoiseTest, IsSurvivedByEveryOperation) {
    constexpr int kRounds = 100;
    std::size_t all = 0;
    std::size_t good = 0;
    for (const Operation& operation : kControllerOperations) {
        for (int round = 0; round < kRounds; ++round, ++all) {
            Start(true, "");
            LeaveBytes();
            CountWrong();
            const Postcondition postcondition(kChip, operation, false);
            short answer = kUntouched;
            const short status = operation.run(*controller, &answer);
            const Violation violation = status == 0 ? postcondition.Check(answer) : Violation::None;
            const Excuse excuse = ExcuseForNoise(violation);
            excused[static_cast<std::size_t>(excuse)] += violation != Violation::None ? 1 : 0;
            rig_clear_faults();
            host::Advance(1000 * kMillisecond);
            std::string wrong = operation.MayAnswer(status) ? "" : "status; ";
            const bool isExcused = violation == Violation::None || excuse != Excuse::None;
            wrong += isExcused ? "" : std::string("0, and not as asked: ") + Name(violation);
            wrong += host::RaisedTimerPeriods() == 0 ? "" : "timer resolution; ";
            wrong += ComesBackAfresh();
            good += wrong.empty() ? 1 : 0;
            EXPECT_EQ(wrong, "") << operation.name << ", round " << round << ", seed " << kSeed;
        }
    }
    EXPECT_EQ(good, all);
    EXPECT_EQ(all, 1'700u);
    EXPECT_EQ(excused, (ExcuseCounts{0, 0, 2, 0, 92, 0, 0, 0, 0}));
    std::cout << "FT2232H: " << good << " of " << all << " operations with stray bytes, seed "
              << kSeed << '\n';
}

} // namespace
