#include "timer_program.h"

#include <algorithm>
#include <map>
#include <utility>

#include "host_platform.h"
#include "logger.h"
#include "memory_checker.h"
#include "planned_faults.h"
#include "system_faults.h"
#include "thread_scheduler.h"

namespace proof {

namespace {

using host::kernel::script;

class Program {
  public:
    Program(const TimerProgram& toRun, const Circumstances& itsCircumstances)
        : program(toRun), circumstances(itsCircumstances) {}

    TimerHistory Run() {
        history.calls.reserve(16);
        Start();
        for (std::size_t timer = 0; timer < program.timers; ++timer) {
            Prepare(timer);
        }
        Disarm();
        if (circumstances.fault != nullptr) {
            Plan(*circumstances.fault);
        }
        history.complaint += scheduler.Run([this] { Go(0); }, [this] { Go(1); });
        history.hasFailed = host::FaultsThatHappened() != 0;
        Disarm();
        if (history.complaint.empty()) {
            for (std::size_t timer = 0; timer < timers.size(); ++timer) {
                Do({HostStep::Dispose, timer});
            }
            history.complaint = Leftovers();
        }
        const std::string memory = MemoryChecker::End(FailedWaits());
        history.complaint += history.complaint.empty() ? memory : "";
        onWatchedCall = nullptr;
        SLV::Internal::s_logger.Install(nullptr, nullptr);
        history.driverTimers = driver.Timers();
        return std::move(history);
    }

  private:
    struct Timer {
        Program* host = nullptr;
        SolvaneTimerHandle handle = 0;
        ProgramStep run = {};
    };

    void Start() {
        constexpr std::uint64_t kSecond = 1'000'000'000;
        host::kernel::Reset();
        host::Advance(kSecond - host::Now() % kSecond); // the same time in each schedule
        script.keepsTrace = true;
        script.driver = [this](const char* request, std::uint64_t input) {
            return driver.Serve(request, input);
        };
        script.onWait = [] { scheduler.Waits(); };
        script.onEndlessWait = [] { scheduler.WaitsUntil(nullptr); };
        MemoryChecker::Start([this](const AtomicAccess& access) {
            // Atomics differ in size: a timer's flag and function, and those of the log.
            if (access.size == sizeof(bool) && access.isWrite) {
                NoteFirst(Present().flagWritten);
            } else if (access.size == sizeof(SolvaneTimerCallback) && !access.isWrite) {
                NoteFirst(Present().functionRead);
            }
        });
        onWatchedCall = [this](WatchedCall call) { Present().calls.push_back(std::move(call)); };
        SLV::Internal::s_logger.Install(this, TakeLine);
    }

    static void NoteFirst(std::size_t& step) { step = step == 0 ? scheduler.Step() : step; }

    void Prepare(std::size_t timer) {
        Do({HostStep::Create, timer});
        const char* const failing[] = {nullptr,
                                       nullptr,
                                       nullptr,
                                       host::kernel::kCreateRequest,
                                       host::kernel::kWaitRequest,
                                       host::kernel::kDeleteRequest};
        if (const char* const function = failing[static_cast<std::size_t>(circumstances.state)]) {
            Plan({function, 1, 1, RIG_FAULT_STATUS, 31, 0});
        }
        if (circumstances.state != TimerState::Created) {
            Do({HostStep::Run, timer, 1});
        }
        if ((host::FaultsThatHappened() != 0) != (circumstances.state > TimerState::Stopped)) {
            history.complaint = "the timer's initial state is wrong";
        }
        Disarm();
    }

    /// Calls count from now on.
    static void Plan(rig_fault fault) {
        fault.call += host::Calls(fault.function);
        host::AddFault(fault);
    }

    void Go(std::size_t thread) {
        for (const ProgramStep& step : program.threads[thread]) {
            Do(step);
        }
    }

    void Do(const ProgramStep& step) {
        if (step.what == HostStep::Give) {
            MemoryChecker::Release(this);
            isGiven = true;
        } else if (step.what == HostStep::Take) {
            scheduler.WaitsUntil([this] { return isGiven; });
            MemoryChecker::Acquire(this);
        } else if (step.what == HostStep::Create || timers[step.timer].handle != 0) {
            Call(step);
        }
    }

    void Call(const ProgramStep& step) {
        std::vector<std::size_t>& open = present[scheduler.Running()];
        const std::size_t index = history.calls.size();
        open.push_back(index);
        history.calls.push_back({step.what, step.timer, scheduler.Running(), scheduler.Step()});
        Timer& timer = timers[step.timer];
        timer.host = this;
        if (step.what == HostStep::Run) {
            timer.run = step;
        }
        const int status = CallExport(step.what, timer);
        history.calls[index].seen.status = status;
        history.calls[index].ended = scheduler.Step();
        open.pop_back();
    }

    static int CallExport(HostStep what, Timer& timer) {
        const InLibrary inside(true);
        switch (what) {
        case HostStep::Create:
            return Solvane_CreateTimer(&timer.handle, reinterpret_cast<std::uintptr_t>(&timer));
        case HostStep::Run:
            return Solvane_RunTimer(timer.handle, 1000, Receive);
        case HostStep::Stop:
            return Solvane_StopTimer(timer.handle);
        default:
            return Solvane_DisposeTimer(std::exchange(timer.handle, 0));
        }
    }

    static void SOLVANE_CALL Receive(std::uint64_t context, const SolvaneTimerEvent* event) {
        const InLibrary outside(false);
        Timer& timer = *reinterpret_cast<Timer*>(static_cast<std::uintptr_t>(context));
        Program& self = *timer.host;
        scheduler.MayBePreempted();
        TimerCall& run = self.Present();
        run.delivered.push_back(scheduler.Step());
        run.seen.events.push_back({event->status, event->initialStatusOk, event->data0,
                                   event->data1, event->data2, event->data3});
        const std::size_t events = run.delivered.size();
        const std::size_t number = run.timer;
        if (events == 1 && timer.run.stopsTheOther) {
            self.Do({HostStep::Stop, 1 - number});
        }
        if (events >= timer.run.events) {
            self.Do({HostStep::Stop, number});
        }
        self.Present().returned.push_back(scheduler.Step());
    }

    static void SOLVANE_CALL TakeLine(void* context, const char* line) {
        constexpr std::string_view kStamp = "[HH:MM:SS.mmm] ";
        const InLibrary outside(false);
        scheduler.MayBePreempted();
        const std::string_view text(line);
        const bool isStamped = text.size() > kStamp.size() && text[0] == '[' &&
                               text.substr(kStamp.size() - 2, 2) == "] ";
        static_cast<Program*>(context)->Present().seen.log.emplace_back(
            isStamped ? text.substr(kStamp.size()) : "a line without its time");
    }

    /// The innermost call of the thread that runs.
    TimerCall& Present() { return history.calls[present[scheduler.Running()].back()]; }

    /// Each of them leaves its request to the driver, pending or not.
    std::size_t FailedWaits() const {
        std::size_t waits = 0;
        for (const TimerCall& call : history.calls) {
            waits += static_cast<std::size_t>(
                std::ranges::count_if(call.calls, [](const WatchedCall& one) {
                    return one.record.function == "WaitForSingleObject" && !one.record.isDone;
                }));
        }
        return waits;
    }

    /// A complaint about what is left after the schedule.
    std::string Leftovers() const {
        const int expected = static_cast<int>(std::ranges::count_if(
            history.calls, [](const TimerCall& call) { return IsLeftPending(call.calls); }));
        if (host::kernel::AbandonedRequests() != expected) {
            return "a request is left pending, or none where one should be";
        }
        host::kernel::AnswerAbandoned();
        if (host::kernel::Misuses() != 0) {
            return "a handle is used that is not open";
        }
        if (host::kernel::OpenHandles() != 0) {
            return "a handle stays open";
        }
        return host::kernel::AllocatedTexts() == 0 ? "" : "a text of the system's is not freed";
    }

    /// The last event was requested, and the wait for it failed.
    static bool IsLeftPending(const std::vector<WatchedCall>& calls) {
        bool isPending = false;
        for (const auto& [record, arrived, began, ended] : calls) {
            if (record.function == host::kernel::kWaitRequest) {
                isPending = record.error == ERROR_IO_PENDING;
            } else if (record.function == "WaitForSingleObject" && record.isDone) {
                isPending = false;
            }
        }
        return isPending;
    }

    const TimerProgram& program;
    const Circumstances& circumstances;
    TimerHistory history;
    TimerDriver driver;
    std::array<Timer, 2> timers;
    std::array<std::vector<std::size_t>, 3> present;
    bool isGiven = false;
};

} // namespace

TimerHistory RunProgram(const TimerProgram& program, const Circumstances& circumstances) {
    return Program(program, circumstances).Run();
}

std::string Text(const TimerHistory& history) {
    constexpr const char* kNames[] = {"create", "run", "stop", "dispose"};
    std::map<std::size_t, std::string> lines; // by their steps
    for (const TimerCall& call : history.calls) {
        const std::string name = std::string(kNames[static_cast<std::size_t>(call.what)]) +
                                 " timer " + std::to_string(call.timer);
        const auto add = [&](std::size_t step, const std::string& text) {
            constexpr const char* kThreads[] = {"first thread: ", "    second thread: ", ""};
            lines[step] = kThreads[call.thread] + text + "\n";
        };
        add(call.began, name);
        add(call.ended, name + ": " + Text(call.seen));
        for (const WatchedCall& one : call.calls) {
            add(one.began, std::string(one.record.function) + (one.record.isDone ? "" : " fails"));
        }
        for (const std::size_t step : call.delivered) {
            add(step, "event");
        }
        if (call.functionRead != 0) {
            add(call.functionRead, "reads the host's function");
        }
        if (call.flagWritten != 0) {
            add(call.flagWritten, "writes the flag");
        }
    }
    std::string text;
    for (const auto& [step, line] : lines) {
        text += line;
    }
    return text;
}

} // namespace proof
