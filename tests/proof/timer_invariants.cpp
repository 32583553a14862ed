#include "timer_invariants.h"

#include <algorithm>
#include <optional>
#include <span>

#include "thread_scheduler.h"

namespace proof {

namespace {

constexpr const char* kNotStarted = "Error. Solvane_StopTimer() timer was not started. ";

bool IsDone(const WatchedCall& call, std::string_view function) {
    return call.record.function == function && call.record.isDone;
}

const WatchedCall* First(const TimerCall& call, std::string_view function) {
    const auto found = std::ranges::find_if(
        call.calls, [&](const WatchedCall& one) { return one.record.function == function; });
    return found != call.calls.end() ? &*found : nullptr;
}

bool IsOf(const TimerCall& call, const TimerCall& run) {
    return run.what == HostStep::Run && run.timer == call.timer;
}

/// The step at which the stop takes effect on a run. Nothing if it has none, because it comes
/// before the run requests its first event (more exactly: before the run has set `running`), or
/// after its end.
std::optional<std::size_t> EffectOn(const TimerCall& run, const TimerCall& stop) {
    const WatchedCall* const event = First(run, "CreateEventW");
    const WatchedCall* const request = First(run, host::kernel::kWaitRequest);
    const std::size_t at = stop.flagWritten;
    if (stop.seen.status != SOLVANE_OK || event == nullptr || request == nullptr ||
        at < event->began || at > run.ended) {
        return std::nullopt;
    }
    const bool isInTime = at > request->began || at > run.flagWritten;
    return isInTime ? std::make_optional(at) : std::nullopt;
}

struct Judge {
    const TimerHistory& history;
    Surprises& surprises;

    /// A stop succeeds between the first and the last system call of a run, and is refused without
    /// any run.
    std::string Stop(const TimerCall& stop) const {
        bool isDuringARun = false;
        bool isBesideARun = false;
        for (const TimerCall& run : history.calls) {
            if (IsOf(stop, run) && stop.ended > run.began && stop.began < run.ended) {
                isBesideARun = true;
                isDuringARun = isDuringARun || (stop.began > run.calls.front().began &&
                                                stop.ended < run.calls.back().ended);
            }
        }
        const bool isAnswered = stop.seen.status == SOLVANE_OK;
        if ((isDuringARun && !isAnswered) || (!isBesideARun && isAnswered)) {
            return "a stop's status";
        }
        const TimerObservation refused{SOLVANE_E_INVALID, {kNotStarted}, {}};
        return stop.seen == (isAnswered ? TimerObservation{} : refused) ? "" : "a stop";
    }

    std::vector<std::size_t> EffectsOn(const TimerCall& run) const {
        std::vector<std::size_t> effects;
        for (const TimerCall& stop : history.calls) {
            if (stop.what == HostStep::Stop && stop.timer == run.timer) {
                if (const auto effect = EffectOn(run, stop)) {
                    effects.push_back(*effect);
                }
            }
        }
        return effects;
    }

    /// A stop that succeeded before the run began to wait, and was lost.
    bool HasEarlyStop(const TimerCall& run) const {
        return std::ranges::any_of(history.calls, [&](const TimerCall& stop) {
            return stop.what == HostStep::Stop && stop.timer == run.timer &&
                   stop.seen.status == SOLVANE_OK && stop.flagWritten > run.began &&
                   stop.flagWritten < run.ended && !EffectOn(run, stop);
        });
    }

    /// An event is delivered unless a stop came before its wait ended; a stop right after that may
    /// still prevent it. After an event the run continues unless a stop came.
    std::string Run(const TimerCall& run) {
        const std::vector<std::size_t> stops = EffectsOn(run);
        const auto stoppedBefore = [&](std::size_t step) {
            return std::ranges::any_of(stops, [&](std::size_t at) { return at < step; });
        };
        TimerTrace trace;
        std::size_t waits = 0;
        std::size_t last = 0; // wait that was over
        for (std::size_t i = 0; i < run.calls.size(); ++i) {
            const WatchedCall& call = run.calls[i];
            if (call.record.function == host::kernel::kWaitRequest && waits > 0 &&
                (run.returned.size() < waits || stoppedBefore(run.returned[waits - 1]))) {
                return "a run goes on after a stop";
            }
            if (call.record.function == "CloseHandle" && waits > 0 &&
                First(run, "CloseHandle") == &call &&
                IsDone(run.calls[i - 1], "WaitForSingleObject") && !stoppedBefore(call.arrived)) {
                return HasEarlyStop(run) ? "an early stop is not lost"
                                         : "a run ends without a stop";
            }
            trace.push_back(call.record);
            if (IsDone(call, "WaitForSingleObject")) {
                last = i;
                ++waits;
                if (waits <= run.delivered.size() && stoppedBefore(call.ended)) {
                    return "an event is delivered after a stop";
                }
            }
        }
        if (waits == run.delivered.size() + 1) {
            trace.erase(trace.begin() + static_cast<std::ptrdiff_t>(last));
            ++surprises.undelivered;
        }
        const TimerObservation expected = Expected(TimerOp::RunStoppedInside, trace);
        return run.seen == expected ? "" : "a run, instead of " + Text(expected);
    }

    /// Counts the stops without effect, or with another one than was meant.
    void Count(const TimerCall& stop) {
        if (stop.seen.status != SOLVANE_OK) {
            return;
        }
        const auto isIn = [](std::size_t step, const TimerCall& run) {
            return step > run.began && step < run.ended;
        };
        bool isLost = false;
        bool isLate = true;
        for (const TimerCall& run : history.calls) {
            if (IsOf(stop, run) && isIn(stop.flagWritten, run)) {
                isLate = false;
                if (!EffectOn(run, stop)) {
                    isLost = true;
                } else if (!isIn(stop.functionRead, run)) {
                    ++surprises.stopsOfTheNext;
                }
            }
        }
        surprises.lostStops += isLost ? 1 : 0;
        surprises.lateStops += isLate ? 1 : 0;
    }

    std::string Other(const TimerCall& call) const {
        TimerTrace trace;
        for (const WatchedCall& one : call.calls) {
            trace.push_back(one.record);
        }
        const TimerObservation expected =
            Expected(call.what == HostStep::Create ? TimerOp::Create : TimerOp::Dispose, trace);
        return call.seen == expected ? "" : "instead of " + Text(expected);
    }

    /// The timers that are left in the driver are those that another run replaced.
    std::string Driver() const {
        std::array<std::uint64_t, 2> known{};
        std::size_t created = 0;
        std::size_t deleted = 0;
        std::size_t overwritten = 0;
        for (const TimerCall& call : history.calls) {
            for (const WatchedCall& one : call.calls) {
                const std::uint64_t before = known[call.timer];
                const std::uint64_t now = KnownTimer(before, {one.record});
                created += IsDone(one, host::kernel::kCreateRequest) ? 1 : 0;
                deleted += IsDone(one, host::kernel::kDeleteRequest) ? 1 : 0;
                overwritten += before != 0 && now != 0 && now != before ? 1 : 0;
                known[call.timer] = now;
            }
        }
        return history.driverTimers == overwritten && created - deleted == overwritten
                   ? ""
                   : std::to_string(history.driverTimers) + " timers go on in the driver";
    }
};

} // namespace

std::string Text(const Surprises& surprises) {
    return "stops: lost " + std::to_string(surprises.lostStops) + ", too late " +
           std::to_string(surprises.lateStops) + ", ended the next run " +
           std::to_string(surprises.stopsOfTheNext) + "; runs that kept an event back " +
           std::to_string(surprises.undelivered);
}

std::string Complaint(const TimerHistory& history, Surprises& surprises) {
    if (!history.complaint.empty()) {
        return history.complaint;
    }
    Judge judge{history, surprises};
    for (const TimerCall& call : history.calls) {
        const std::string complaint = call.what == HostStep::Stop  ? judge.Stop(call)
                                      : call.what == HostStep::Run ? judge.Run(call)
                                                                   : judge.Other(call);
        if (!complaint.empty()) {
            return complaint;
        }
        if (call.what == HostStep::Stop) {
            judge.Count(call);
        }
    }
    return judge.Driver();
}

} // namespace proof
