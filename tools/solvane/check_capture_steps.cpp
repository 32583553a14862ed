/// The steps of a check that trigger captures.

#include <algorithm>
#include <cmath>

#include "check_steps.h"
#include "statuses.h"

namespace host {

namespace {

using namespace std::chrono_literals;

constexpr auto kReadyAgain = 2s;
constexpr auto kExposure = 2s; // longest wait after the trigger for the flag and ready
constexpr auto kBetween = 1ms; // pause between two rounds of reading ready and the flag
/// The trigger call returns at least this long after the edge: the pulse is a Sleep(10), which may
/// end 1 ms early at a timer resolution of 1 ms.
constexpr auto kPulse = 9ms;

/// "38 to 42 ms", or "within 21 ms" when the interval begins with the edge.
std::string Text(const Interval& interval) {
    const auto whole = [](double ms) { return std::to_string(static_cast<long>(ms)); };
    const std::string to = whole(interval.to + 0.999);
    return interval.from <= 0 ? "within " + to + " ms" : whole(interval.from) + " to " + to + " ms";
}

std::string Text(const std::optional<Interval>& interval) {
    return interval ? Text(*interval) : "not seen";
}

nlohmann::ordered_json ToJson(const std::optional<Interval>& interval) {
    return interval ? nlohmann::ordered_json{interval->from, interval->to} : nullptr;
}

/// A histogram in eight columns, from the least value to the greatest.
std::string Histogram(const std::vector<double>& values) {
    constexpr const char* kBars[] = {" ", "▁", "▂", "▃", "▄", "▅", "▆", "▇", "█"};
    constexpr std::size_t kColumns = 8;
    const auto [least, greatest] = std::ranges::minmax(values);
    std::vector<std::size_t> columns(kColumns);
    for (const double value : values) {
        const double part = greatest > least ? (value - least) / (greatest - least) : 0;
        ++columns[std::min(kColumns - 1, static_cast<std::size_t>(part * kColumns))];
    }
    const std::size_t most = *std::max_element(columns.begin(), columns.end());
    std::string text;
    for (const std::size_t count : columns) {
        text += kBars[(count * 8 + most - 1) / most];
    }
    return text;
}

/// When an event happened after the trigger edge: between the last answer without it and the first
/// with it. The edge itself is known only to lie between two moments.
Interval AfterEdge(Moment without, Moment with, Moment earliestEdge, Moment latestEdge) {
    return {std::max(0.0, Milliseconds(without - latestEdge).count()),
            Milliseconds(with - earliestEdge).count()};
}

} // namespace

/// Polls ready and the flag until both have changed as a capture requires, or time is up.
void Run::Watch(Capture& capture, Moment earliestEdge, Moment latestEdge) {
    const Moment deadline = SteadyNow() + kExposure;
    Moment readyAsked = earliestEdge;
    Moment flagAsked = earliestEdge;
    while (!seen.isLost && SteadyNow() < deadline) {
        const Moment begin = SteadyNow();
        const std::optional<bool> ready = AskReady();
        const Moment middle = SteadyNow();
        if (ready == false && !capture.readyFell) {
            capture.readyFell = AfterEdge(earliestEdge, middle, earliestEdge, latestEdge);
        }
        if (ready == true && capture.readyFell && !capture.readyReturned) {
            capture.readyReturned = AfterEdge(readyAsked, middle, earliestEdge, latestEdge);
        }
        readyAsked = begin;
        const std::optional<bool> flag = AskFlag();
        if (flag == true && !capture.flag) {
            capture.flag = true;
            capture.flagRose = AfterEdge(flagAsked, SteadyNow(), earliestEdge, latestEdge);
        } else {
            capture.flagAgain = capture.flagAgain || flag == true;
            capture.flagAtEnd = flag == true;
            if (capture.flag && ready == true) {
                return;
            }
        }
        flagAsked = middle;
        SleepUntil(SteadyNow() + kBetween);
    }
}

Capture Run::TakeCapture() {
    Capture capture;
    const Moment begin = SteadyNow();
    capture.status = host.library.TriggerCapture();
    const Moment back = SteadyNow();
    capture.callMs = Milliseconds(back - begin).count();
    if (capture.status == SOLVANE_OK) {
        Watch(capture, begin, std::max(begin, back - kPulse));
    } else if (capture.status != SOLVANE_E_NOT_READY) {
        seen.isLost = true;
    }
    return capture;
}

void Run::OneCapture(StepResult& step) {
    if (WaitForReady(true, kReadyAgain) != true) {
        step.LeaveUntested("The camera is not ready: it would be refused.");
        return;
    }
    TakeFlagDown();
    const Capture capture = seen.capture.emplace(TakeCapture());
    if (capture.status != SOLVANE_OK) {
        step.seen.push_back("refused with status " + std::to_string(capture.status) + ": " +
                            std::string(Meaning("trigger", capture.status)));
        step.Fail();
        return;
    }
    const bool isFlagOfIt = seen.flagAtRest != Flag::stuck && capture.flag;
    step.seen = {
        "trigger given, the call took " + std::to_string(std::lround(capture.callMs)) + " ms",
        "ready fell: " + Text(capture.readyFell), "ready returned: " + Text(capture.readyReturned),
        "flag came up: " + (capture.flag ? Text(capture.flagRose) : "not in 2000 ms"),
        std::string("flag afterwards: ") + (capture.flagAtEnd ? "up" : "down")};
    step.times["call_ms"] = capture.callMs;
    step.times["ready_fell_ms"] = ToJson(capture.readyFell);
    step.times["ready_returned_ms"] = ToJson(capture.readyReturned);
    step.times["flag_ms"] = ToJson(capture.flagRose);
    step.facts["confirmed"] = isFlagOfIt;
    const bool staysAway = capture.readyFell && !capture.readyReturned;
    if (!isFlagOfIt || capture.flagAgain || staysAway || seen.isLost) {
        step.Fail();
    }
}

void Run::ManyCaptures(StepResult& step) {
    Captures& all = seen.captures;
    if (!seen.capture || seen.capture->status != SOLVANE_OK || !seen.capture->flag ||
        seen.flagAtRest == Flag::stuck) {
        step.LeaveUntested("The first was not confirmed.");
        return;
    }
    for (unsigned i = 0; i < host.captures && !seen.isLost; ++i) {
        WaitForReady(true, kReadyAgain);
        TakeFlagDown();
        const Capture capture = TakeCapture();
        ++(capture.status == SOLVANE_OK ? all.given : all.refused);
        all.byReady += capture.readyFell ? 1 : 0;
        if (capture.flag) {
            ++all.byFlag;
            all.flagMs.push_back(capture.flagRose->to);
        }
    }
    step.seen.push_back("given " + std::to_string(all.given) + ", refused " +
                        std::to_string(all.refused) + ", confirmed by ready " +
                        std::to_string(all.byReady) + ", by the flag " +
                        std::to_string(all.byFlag));
    if (!all.flagMs.empty()) {
        const auto [least, greatest] = std::ranges::minmax(all.flagMs);
        step.seen.push_back("flag after " + std::to_string(std::lround(least)) + " to " +
                            std::to_string(std::lround(greatest)) + " ms at the latest  " +
                            Histogram(all.flagMs));
    }
    step.times["flag_ms"] = all.flagMs;
    step.facts["all_confirmed"] = all.byFlag == host.captures;
    if (all.byFlag < host.captures) {
        step.Fail();
    }
}

} // namespace host
