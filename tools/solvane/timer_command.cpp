#include <array>
#include <chrono>
#include <exception>

#include "commands.h"
#include "driver_timer.h"
#include "statuses.h"
#include "stop.h"

namespace host {

namespace {

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

/// The only timer run of this process. Events reach it through a static member, because their
/// context holds the user's value instead of a pointer.
class TimerRun {
  public:
    TimerRun(const Session& ofSession, const DriverTimer& ofTimer)
        : session(ofSession), timer(ofTimer) {
        current = this;
    }
    TimerRun(const TimerRun&) = delete;
    TimerRun& operator=(const TimerRun&) = delete;

    /// Rethrows an exception from printing an event.
    int Run() {
        const WhenStopped stopping([this] { timer.Stop(); });
        const int status = timer.Run(session.request.timerParameter, OnEvent);
        if (failure) {
            std::rethrow_exception(failure);
        }
        return status;
    }

  private:
    static void SOLVANE_CALL OnEvent(std::uint64_t context,
                                     const SolvaneTimerEvent* event) noexcept {
        current->Receive(context, *event); // on the thread of Run(), so no lock is needed
    }

    void Receive(std::uint64_t context, const SolvaneTimerEvent& event) {
        const Clock::time_point now = Clock::now();
        // The stop may have come before the run began, in which case the library lost it.
        if (!IsStopRequested()) {
            try {
                Print(context, event, now - last);
            } catch (...) { // must not travel through the library
                failure = std::current_exception();
            }
            last = now;
            ++events;
        }
        if (IsStopRequested() || failure || events == session.request.events) {
            timer.Stop();
        }
    }

    void Print(std::uint64_t context, const SolvaneTimerEvent& event, Milliseconds sinceLast) const;

    inline static TimerRun* current = nullptr;

    const Session& session;
    const DriverTimer& timer;
    std::exception_ptr failure;
    std::uint64_t events = 0;
    Clock::time_point last = Clock::now();
};

void TimerRun::Print(std::uint64_t context, const SolvaneTimerEvent& event,
                     Milliseconds sinceLast) const {
    const Request& request = session.request;
    const std::array data{event.data0, event.data1, event.data2, event.data3};
    const bool initialStatusOk = event.initialStatusOk != 0;
    const std::string_view meaning =
        event.status == SOLVANE_OK ? "done" : Meaning(kTimerEvent, event.status);

    Report report(request.command, event.status, meaning);
    report.Add("event", events + 1);
    report.Add("initial_status_ok", initialStatusOk);
    report.Add("data", data);
    report.Add("since_last_ms", Rounded(sinceLast.count()));
    report.Add("context", context);

    std::string words;
    for (const unsigned word : data) {
        words += " " + std::to_string(word);
    }
    report.Remark("event " + std::to_string(events + 1),
                  "status " + std::to_string(event.status) + ": " + std::string(meaning) +
                      "; initial status " + (initialStatusOk ? "ok" : "not ok") + "; data" + words +
                      "; " + Text(sinceLast.count()) + " since the last");
    session.progress.Restart();
    report.PrintValues(request.json);
}

} // namespace

ExitCode RunTimer(const Session& session) {
    const Request& request = session.request;
    const DriverTimer timer(session.library, request.timerContext);
    int status = timer.Status();
    if (status == SOLVANE_OK) {
        status = TimerRun(session, timer).Run();
    }
    return status == SOLVANE_OK ? kSuccess : Finish(Report(request.command, status), session);
}

} // namespace host
