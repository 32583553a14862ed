#include <chrono>

#include <windows.h>

#include "commands.h"

namespace host {

namespace {

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

constexpr DWORD kReadyPollMilliseconds = 10;

void SleepUntil(Clock::time_point due) {
    // Again, because Sleep may end a little early.
    for (auto now = Clock::now(); now < due; now = Clock::now()) {
        Sleep(static_cast<DWORD>(std::chrono::ceil<std::chrono::milliseconds>(due - now).count()));
    }
}

/// Returns in any case: the trigger itself tells what is wrong with a system that is not ready.
void WaitUntilReady(const Library& library, unsigned milliseconds) {
    const Clock::time_point deadline = Clock::now() + std::chrono::milliseconds(milliseconds);
    while (Clock::now() < deadline) {
        std::int16_t ready = 0;
        if (library.CheckSystemReady(&ready) != SOLVANE_OK || ready != 0) {
            return;
        }
        Sleep(kReadyPollMilliseconds);
    }
}

void PrintCapture(const Session& session, int status, unsigned number, Milliseconds start,
                  Milliseconds duration) {
    const Request& request = session.request;
    const std::string total = std::to_string(request.captures);
    Report report(request.command, status);
    report.Add("capture", number);
    report.Add("of", request.captures);
    report.Add("start_ms", Rounded(start.count()));
    report.Add("duration_ms", Rounded(duration.count()));
    // Numbers as wide as the greatest: the reports of all captures stand below one another.
    std::string index = std::to_string(number);
    index.insert(0, total.size() - index.size(), ' ');
    report.Remark("capture " + index + " of " + total,
                  "at " + Text(start.count()) +
                      (status == SOLVANE_OK ? ", took " : ", failed after ") +
                      Text(duration.count()));
    Finish(report, session);
}

} // namespace

int Trigger(const Session& session) {
    const Request& request = session.request;
    const auto interval = std::chrono::milliseconds(request.intervalMilliseconds);

    // The hardware is found before the clock starts, else the first capture alone would seem slow.
    int status = session.library.CheckAvailable();
    if (status != SOLVANE_OK) {
        return Finish(Report(request.command, status), session);
    }

    const Clock::time_point begin = Clock::now();
    Clock::time_point due = begin;
    for (unsigned number = 1; number <= request.captures && status == SOLVANE_OK; ++number) {
        SleepUntil(due);
        WaitUntilReady(session.library, request.waitReadyMilliseconds);
        const Clock::time_point start = Clock::now();
        due = start + interval;
        status = session.library.TriggerCapture();
        PrintCapture(session, status, number, start - begin, Clock::now() - start);
    }
    return status;
}

} // namespace host
