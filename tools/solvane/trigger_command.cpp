#include <chrono>

#include "commands.h"
#include "stop.h"

namespace host {

namespace {

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

constexpr std::chrono::milliseconds kReadyPoll(10);

/// Waits until the system is ready, but not for ever: the trigger itself reports why it is refused.
/// Waits for lost hardware only if the triggers are to continue after a loss.
void WaitUntilReady(const Session& session) {
    const Request& request = session.request;
    const Clock::time_point deadline =
        Clock::now() + std::chrono::milliseconds(request.waitReadyMilliseconds);
    while (Clock::now() < deadline) {
        const Answer ready = Ask(session.library.CheckSystemReady, session.log);
        if (ready.value.value_or(false) || (ready.status != SOLVANE_OK && !request.keepGoing)) {
            return;
        }
        SleepUntil(Clock::now() + kReadyPoll);
    }
}

/// Why the system may not be ready, as far as the other lines show it.
std::string_view WhyNotReady(const Session& session) {
    if (!session.log.LostRead().empty()) {
        return "The ready line could not be read: solvane doctor tells more.";
    }
    if (!Ask(session.library.CheckCameraPower, session.log).value.value_or(true)) {
        return "Camera power is off: solvane camera-power on.";
    }
    if (Ask(session.library.CheckForcedBlackUpdate, session.log).value.value_or(false)) {
        return "Dark is on, which may keep the camera from being ready: solvane dark off.";
    }
    return "The camera may be at work still (--wait-ready waits for it), or asleep (solvane wake).";
}

ExitCode Print(const Session& session, int status, unsigned number, Milliseconds start,
               Milliseconds duration) {
    const Request& request = session.request;
    const std::string total = std::to_string(request.triggers);
    Report report(request.command, status);
    report.Add("trigger", number);
    report.Add("of", request.triggers);
    report.Add("start_ms", Rounded(start.count()));
    report.Add("duration_ms", Rounded(duration.count()));
    // Pad to the width of the greatest number, so that the reports of all triggers align.
    std::string index = std::to_string(number);
    index.insert(0, total.size() - index.size(), ' ');
    const bool isGiven = status == SOLVANE_OK;
    report.Remark((isGiven ? "triggered " : "trigger   ") + index + " of " + total,
                  "at " + Text(start.count()) + (isGiven ? ", took " : ", failed after ") +
                      Text(duration.count()));
    if (status == SOLVANE_E_NOT_READY) {
        report.Advise(WhyNotReady(session));
    }
    return Finish(std::move(report), session);
}

} // namespace

ExitCode Trigger(const Session& session) {
    const Request& request = session.request;
    const auto interval = std::chrono::milliseconds(request.intervalMilliseconds);

    // Find the hardware before the clock starts, or the first trigger would seem slow.
    const int status = session.library.CheckAvailable();
    if (status != SOLVANE_OK) {
        return Finish(Report(request.command, status), session);
    }

    const Clock::time_point begin = Clock::now();
    Clock::time_point due = begin;
    ExitCode code = kSuccess;
    for (unsigned number = 1; number <= request.triggers; ++number) {
        SleepUntil(due);
        WaitUntilReady(session);
        const Clock::time_point start = Clock::now();
        due = start + interval;
        session.log.ForgetLostRead();
        const int latest = session.library.TriggerCapture();
        const Milliseconds duration = Clock::now() - start;
        const ExitCode last = Print(session, latest, number, start - begin, duration);
        code = last == kSuccess ? code : last;
        if (code != kSuccess && !request.keepGoing) {
            break;
        }
    }
    return code;
}

} // namespace host
