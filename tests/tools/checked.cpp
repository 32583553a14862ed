#include "checked.h"

#include <algorithm>

#include "host_platform.h"
#include "library_state.h"
#include "operations.h"

#include <solvane/solvane.h>

#include "stop.h"

namespace {

constexpr std::uint64_t kNever = ~std::uint64_t{0};

bool isStopRequested = false;
std::uint64_t stopAt = kNever;

} // namespace

// Replaces the program's stop request and clock: time is the rig's.
namespace host {

bool IsStopRequested() {
    return isStopRequested;
}

void EndIfStopped() {
    if (Now() >= stopAt) {
        isStopRequested = true;
    }
    if (isStopRequested) {
        throw Stopped();
    }
}

std::chrono::steady_clock::time_point SteadyNow() {
    return std::chrono::steady_clock::time_point(std::chrono::nanoseconds(Now()));
}

void SleepUntil(std::chrono::steady_clock::time_point due) {
    const auto now = SteadyNow();
    if (now < due && !isStopRequested) {
        Advance(static_cast<std::uint64_t>(
            std::chrono::duration_cast<std::chrono::nanoseconds>(due - now).count()));
        test::PlannedDriver::Follow();
    }
}

} // namespace host

namespace test {

namespace {

host::Functions LibraryFunctions() {
    host::Functions functions{};
    functions.SetLogger = Solvane_SetLogger;
#define SOLVANE_SET(name, ...) functions.name.function = Solvane_##name;
    SOLVANE_OPERATIONS(SOLVANE_SET, SOLVANE_SET, SOLVANE_SET)
#undef SOLVANE_SET
    functions.CreateTimer.function = Solvane_CreateTimer;
    functions.RunTimer.function = Solvane_RunTimer;
    functions.StopTimer = Solvane_StopTimer;
    functions.DisposeTimer = Solvane_DisposeTimer;
    return functions;
}

} // namespace

host::Machine PlainMachine() {
    host::Machine machine;
    machine.system = "Windows 10.0.22631";
    machine.computer = "LAB-07";
    machine.user = "ada";
    machine.time = "2026-11-21 17:30";
    machine.usb = {{"SLV1A", "Dual RS232-HS A", true}, {"SLV1B", "Dual RS232-HS B", true}};
    machine.port = host::FirstPort{"LPT1", 0x378, 1};
    machine.timerDriver = host::DriverState::absent;
    machine.sleep = {10.4, 15.6};
    return machine;
}

const host::StepResult& Checked::Step(const std::string& key) const {
    return *std::ranges::find_if(result.steps,
                                 [&](const host::StepResult& step) { return step.key == key; });
}

CheckOnTheRig::CheckOnTheRig() {
    host::Record(false);
}

CheckOnTheRig::~CheckOnTheRig() {
    SLV::Internal::GetLibraryState().controller.reset();
}

Checked CheckOnTheRig::Check(const CheckPlan& plan) {
    isStopRequested = false;
    stopAt = plan.stopAfterMs ? host::Now() + *plan.stopAfterMs * 1'000'000 : kNever;
    SLV::Internal::LibraryState& state = SLV::Internal::GetLibraryState();
    state.controller.reset();
    ResetProcessState();
    Load(plan.scenario);
    host::LibraryLog log(false);
    log.KeepLines();
    Solvane_SetLogger(&log, host::LibraryLog::Receive);
    SelectController(state);

    host::Functions functions = LibraryFunctions();
    if (plan.driver != nullptr) {
        PlannedDriver::PutInto(functions);
    }
    const host::CheckHost checkHost{
        functions,
        log,
        [&] { return plan.machine; },
        [&](host::Needs needs, const char*) {
            return std::string(plan.refused.contains(needs) ? "nobody allowed it" : "");
        },
        [](const host::StepResult&) {},
        plan.captures,
        plan.driver != nullptr ? std::optional(1u) : std::nullopt,
        plan.timerLimit};
    Checked checked{};
    try {
        checked.result = RunCheck(checkHost);
    } catch (const host::Stopped&) {
        checked.result.isComplete = false;
    }
    checked.log = log.Lines();
    checked.dark = rig_level(RIG_DARK);
    checked.cameraPower = rig_level(RIG_CAMERA_POWER);
    checked.accessoriesPower = rig_level(RIG_ACCESSORIES_POWER);
    checked.trigger = rig_level(RIG_TRIGGER);
    checked.pictures = rig_captures();
    Solvane_SetLogger(nullptr, nullptr);
    return checked;
}

} // namespace test
