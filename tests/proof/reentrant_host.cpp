#include "reentrant_host.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "host_platform.h"
#include "kernel_stand_in.h"

namespace proof {

namespace {

constexpr std::uint64_t kLongEnough = 1'000'000'000; ///< for a camera to be ready again
constexpr std::uint8_t kUnknownStatus = 99;          ///< of every event, so that each logs a line

bool HasStampAt(std::string_view text) {
    constexpr std::string_view kStamp = "[00:00:00.000] ";
    const auto same = [](char is, char must) {
        return must == '0' ? is >= '0' && is <= '9' : is == must;
    };
    return text.size() >= kStamp.size() &&
           std::equal(kStamp.begin(), kStamp.end(), text.begin(),
                      [&](char must, char is) { return same(is, must); });
}

/// It is empty, or has one stamp, at its beginning.
bool IsWhole(std::string_view line) {
    std::size_t stamps = 0;
    for (std::size_t i = line.find('['); i != line.npos; i = line.find('[', i + 1)) {
        stamps += HasStampAt(line.substr(i)) ? 1 : 0;
    }
    return line.empty() || (stamps == 1 && HasStampAt(line));
}

} // namespace

void ReentrantLog::Expect(std::size_t line, std::function<void()> what) {
    atLine = line;
    doInside = std::move(what);
    outside.clear();
    inside.clear();
}

void ReentrantLog::OnLine(const char* line) {
    const std::string text = line;
    (isInside ? inside : outside).push_back(text);
    if (!isInside && outside.size() == atLine) {
        struct Inside {
            bool& is;
            explicit Inside(bool& flag) : is(flag) { is = true; }
            ~Inside() { is = false; }
        } const isIt(isInside);
        atLine = 0;
        doInside();
        wasLineChanged = wasLineChanged || text != line;
    }
}

ReentrantHost::ReentrantHost() {
    host::Record(false);
    host::kernel::Reset();
    host::kernel::script.driver = [this](const char* request, std::uint64_t input) {
        host::kernel::Answer answer = driver.Serve(request, input);
        if (request == std::string(host::kernel::kWaitRequest)) {
            answer.output[8] = kUnknownStatus;
            answer.output[9] = 0;
        }
        return answer;
    };
    Load("");
    SLV::Internal::GetLibraryState();
}

ReentrantHost::~ReentrantHost() {
    Solvane_SetLogger(nullptr, nullptr);
    DisposeOfTimers();
    host::kernel::Reset();
}

std::vector<NestedCall> ReentrantHost::AllCalls() {
    std::vector<NestedCall> calls;
    for (const Operation& operation : kOperations) {
        calls.push_back({operation.name, &operation, [&operation] {
                             std::int16_t answer = kUntouched;
                             const short status = CallExport(operation, &answer);
                             EXPECT_EQ(answer != kUntouched, operation.hasAnswer && status == 0);
                             return status;
                         }});
    }
    const auto none = [](auto function) {
        return [function] {
            function();
            return short{0};
        };
    };
    calls.push_back({"SetLogger", nullptr, none([this] { Listen(); })});
    calls.push_back(
        {"SetLogger to none", nullptr, none([] { Solvane_SetLogger(nullptr, nullptr); })});
    calls.push_back({"CreateTimer", nullptr, [this] { return Solvane_CreateTimer(&created, 0); }});
    calls.push_back({"RunTimer", nullptr, [this] {
                         Run run;
                         run.timer = other;
                         const short status = run.Start();
                         EXPECT_EQ(run.events.size(), std::size_t{kEvents});
                         return status;
                     }});
    calls.push_back({"StopTimer", nullptr, [this] { return Solvane_StopTimer(other); },
                     SOLVANE_E_INVALID}); // it does not run
    calls.push_back({"DisposeTimer", nullptr,
                     [this] { return Solvane_DisposeTimer(std::exchange(other, 0)); }});
    return calls;
}

void ReentrantHost::Start(const std::string& scenario) {
    Solvane_SetLogger(nullptr, nullptr);
    StartLibrary(scenario);
    DisposeOfTimers();
    EXPECT_EQ(Solvane_CreateTimer(&other, 0), 0);
    log.wasLineChanged = false;
    Listen();
}

void ReentrantHost::DisposeOfTimers() {
    for (SolvaneTimerHandle* timer : {&other, &created}) {
        if (*timer != 0) {
            EXPECT_EQ(Solvane_DisposeTimer(std::exchange(*timer, 0)), 0);
        }
    }
}

std::string ReentrantHost::WhatIsWrongAfterwards() {
    std::string wrong;
    const auto note = [&](bool isWrong, const std::string& what) {
        wrong += isWrong ? " " + what + ";" : "";
    };
    note(log.wasLineChanged, "a line changed while it was read");
    for (const auto* lines : {&log.outside, &log.inside}) {
        const auto part = std::find_if_not(lines->begin(), lines->end(), IsWhole);
        note(part != lines->end(), "a line is not whole: " + (part != lines->end() ? *part : ""));
    }
    note(host::RaisedTimerPeriods() != 0, "the timer resolution stays raised");

    log.Expect(0, nullptr);
    Listen();
    note(Solvane_RecheckStatus() != 0, "re-selection fails");
    note(log.outside.empty() || !std::all_of(log.outside.begin(), log.outside.end(), IsWhole),
         "the next lines are not whole");
    note(rig_level(RIG_TRIGGER) != 0, "re-selection leaves the trigger high");
    Solvane_EnableCameraPower(); // a nested call may have switched it off
    std::int16_t flag = 0;
    Solvane_CheckAndResetMepFlag(&flag);
    host::Advance(kLongEnough);
    const std::uint32_t captures = rig_captures();
    note(Solvane_TriggerCapture() != 0 || rig_captures() != captures + 1,
         "the next trigger takes no picture");

    Run run;
    note(Solvane_CreateTimer(&run.timer, reinterpret_cast<std::uintptr_t>(&run)) != 0 ||
             run.Start() != 0 || Solvane_DisposeTimer(run.timer) != 0,
         "the next timer does not run");
    DisposeOfTimers();
    note(driver.Timers() != 0, "the driver has kept a timer");
    note(host::kernel::OpenHandles() != 0, "a handle stays open");
    note(host::kernel::Misuses() != 0, "a handle was used that is not open");
    return wrong;
}

short ReentrantHost::Run::Start() {
    static Run* current; // the timer was created before its run
    const auto outer = std::exchange(current, this);
    const short status =
        Solvane_RunTimer(timer, 1, [](std::uint64_t, const SolvaneTimerEvent* event) {
            Receive(reinterpret_cast<std::uintptr_t>(current), event);
        });
    current = outer;
    return status;
}

void SOLVANE_CALL ReentrantHost::Run::Receive(std::uint64_t context,
                                              const SolvaneTimerEvent* event) {
    Run& run = *reinterpret_cast<Run*>(static_cast<std::uintptr_t>(context));
    run.events.push_back(*event);
    if (run.events.size() == 1 && run.inFirstEvent) {
        run.inFirstEvent();
    }
    if (run.events.size() == kEvents) {
        Solvane_StopTimer(run.timer);
    }
}

} // namespace proof
