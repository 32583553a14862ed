#include "timer_host.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "host_platform.h"
#include "logger.h"
#include "system_faults.h"

namespace proof {

namespace {

using host::kernel::CallRecord;
using host::kernel::script;
using host::kernel::TakeTrace;

} // namespace

TimerHost::TimerHost() {
    SLV::Internal::s_logger.Install(&lines, [](void* context, const char* line) {
        constexpr std::size_t kStamp = sizeof "[HH:MM:SS.mmm] " - 1;
        static_cast<std::vector<std::string>*>(context)->emplace_back(
            std::string_view(line).substr(kStamp));
    });
}

TimerHost::~TimerHost() {
    Discard();
    SLV::Internal::s_logger.Install(nullptr, nullptr);
    host::kernel::Reset();
}

void TimerHost::Start(TimerState state, TimerOp op) {
    constexpr std::uint64_t kSecond = 1'000'000'000;
    Discard();
    host::kernel::Reset();
    host::Advance(kSecond - host::Now() % kSecond); // the log asks the calendar every second
    driver = {};
    script.keepsTrace = true;
    script.driver = [this](const char* request, std::uint64_t input) {
        return driver.Serve(request, input);
    };
    known = 0;
    overwritten = 0;
    leftOpen = 0;
    timers[0] = {};
    timers[1] = {};
    isBesideARun = false;
    if (state == TimerState::Nothing) {
        return;
    }
    EXPECT_TRUE(Works(TimerOp::Create));
    if (state == TimerState::BesideARun) {
        std::swap(own, other);
        EXPECT_TRUE(op == TimerOp::Create || Works(TimerOp::Create));
        isBesideARun = true;
        return;
    }
    if (state == TimerState::Stopped) {
        EXPECT_TRUE(Works(TimerOp::RunStoppedInside));
    } else if (state == TimerState::CreateRefused) {
        FailToRun(host::kernel::kCreateRequest);
    } else if (state == TimerState::LeftBehind) {
        FailToRun(host::kernel::kWaitRequest);
    } else if (state == TimerState::DeleteRefused) {
        FailToRun(host::kernel::kDeleteRequest);
    }
    if (op == TimerOp::Create) {
        std::swap(own, other);
        known = 0;
    }
}

/// After a run that ended well the disposal cannot fail.
void TimerHost::Discard() {
    Disarm();
    isBesideARun = false;
    if (HasTimer()) {
        Do(TimerOp::RunStoppedInside, {});
        Do(TimerOp::Dispose, {});
    }
    DisposesOfOther();
}

void TimerHost::FailToRun(const char* function) {
    const FailureMode fails = rig::Fails(31);
    const PlannedFault planned{function, 1, 1, &fails, true};
    EXPECT_EQ(Do(TimerOp::RunStoppedInside, {&planned}).seen.status, SOLVANE_E_UNDETERMINED);
    Disarm();
}

TimerHost::Call TimerHost::Do(TimerOp op, const std::vector<const PlannedFault*>& faults,
                              bool wantsFaults) {
    if (!std::exchange(isBesideARun, false)) {
        return DoAlone(op, faults, wantsFaults);
    }
    Call call;
    other->events.clear();
    other->beside = [&] {
        call = DoAlone(op, faults, wantsFaults);
        Disarm();
    };
    EXPECT_EQ(Solvane_RunTimer(other->handle, 1000, Receive), SOLVANE_OK);
    EXPECT_EQ(other->events.size(), 2u);
    return call;
}

TimerHost::Call TimerHost::DoAlone(TimerOp op, const std::vector<const PlannedFault*>& faults,
                                   bool wantsFaults) {
    TakeTrace();
    lines.clear();
    for (const PlannedFault* const fault : faults) {
        EXPECT_TRUE(Arm(*fault)) << fault->function;
    }
    const auto calls = wantsFaults ? std::make_optional<CallCount>() : std::nullopt;
    Call call;
    call.seen.status = CallExport(op);
    call.seen.log = std::exchange(lines, {});
    call.seen.events = std::exchange(own->events, {});
    if (calls) {
        call.plannedFaults = calls->OfSystem(TimerFunctions());
    }
    call.trace = TakeTrace();
    call.failures = host::FaultsThatHappened();
    Follow(call.trace);
    return call;
}

int TimerHost::CallExport(TimerOp op) {
    switch (op) {
    case TimerOp::Create:
        own->handle = kUntouched;
        return Solvane_CreateTimer(&own->handle, reinterpret_cast<std::uintptr_t>(own));
    case TimerOp::Stop:
        return Solvane_StopTimer(own->handle);
    case TimerOp::Dispose:
        return Solvane_DisposeTimer(std::exchange(own->handle, 0));
    default:
        break;
    }
    own->run = op;
    if (op == TimerOp::RunStoppedEarly) {
        script.onRequest = [this] { Stop(*own); };
    }
    const int status = Solvane_RunTimer(own->handle, 1000, Receive);
    script.onWait = nullptr;
    return status;
}

/// Updates the expected driver's timers and handles.
void TimerHost::Follow(const TimerTrace& trace) {
    for (const CallRecord& record : trace) {
        const std::uint64_t before = std::exchange(known, KnownTimer(known, {record}));
        const bool isReplaced =
            record.function == host::kernel::kCreateRequest && record.isDone && driver.Has(before);
        overwritten += isReplaced ? 1 : 0;
    }
    leftOpen += Count(trace, "CloseHandle", false);
}

void TimerHost::Receive(std::uint64_t context, const SolvaneTimerEvent* event) {
    constexpr std::size_t kTooMany = 9; // the stop had no effect
    Timer& timer = *reinterpret_cast<Timer*>(static_cast<std::uintptr_t>(context));
    timer.events.push_back({event->status, event->initialStatusOk, event->data0, event->data1,
                            event->data2, event->data3});
    if (const auto beside = std::exchange(timer.beside, nullptr)) {
        beside();
    }
    if (timer.run == TimerOp::RunStoppedBetween) {
        script.onWait = [&timer] { Stop(timer); };
    }
    if (timer.events.size() >= (timer.run == TimerOp::RunStoppedBetween ? kTooMany : 2)) {
        Stop(timer);
    }
}

void TimerHost::Stop(const Timer& timer) {
    EXPECT_EQ(Solvane_StopTimer(timer.handle), SOLVANE_OK);
}

bool TimerHost::Works(TimerOp op) {
    const Call call = Do(op, {});
    return Reason(call.trace).empty() && call.seen == Expected(op, call.trace);
}

bool TimerHost::DisposesOfOther() {
    const SolvaneTimerHandle handle = std::exchange(other->handle, 0);
    return handle == 0 || Solvane_DisposeTimer(handle) == SOLVANE_OK;
}

bool TimerHost::HasTimer() const {
    return own->handle != 0 && own->handle != kUntouched;
}

std::ptrdiff_t Count(const TimerTrace& trace, std::string_view function, bool isDone) {
    return std::ranges::count_if(trace, [&](const CallRecord& record) {
        return record.function == function && record.isDone == isDone;
    });
}

} // namespace proof
