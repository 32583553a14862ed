#include "host_platform.h"

#include <array>
#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <ctime>

#include <solvane/rig.h>
#include <timeapi.h>
#include <windows.h>

#include "rig_clock.h"
#include "system_faults.h"

namespace {

constexpr std::uint64_t kNanosecondsPerMillisecond = 1'000'000;
constexpr std::uint64_t kTicksFrom1601To1970 = 116'444'736'000'000'000;

std::atomic<std::uint64_t> now{0};
std::atomic<std::uint64_t> wallClockAtZero{0};
std::atomic<int> raisedPeriods{0};
std::atomic<host::Ticks> clockTicks{host::Ticks::none};
std::atomic<bool> recording{true};

/// How long a sleep takes that begins now.
std::uint64_t DurationOf(std::uint64_t sleep) {
    constexpr std::uint64_t kCoarse = 15'625'000;
    if (clockTicks == host::Ticks::none || sleep == 0) {
        return sleep;
    }
    const bool isRaised = clockTicks == host::Ticks::honoured && raisedPeriods > 0;
    const std::uint64_t tick = isRaised ? kNanosecondsPerMillisecond : kCoarse;
    return (sleep + tick - 1) / tick * tick - now % tick;
}

} // namespace

namespace host {

std::function<void()> duringWait;

std::uint64_t Now() {
    return now;
}
void Advance(std::uint64_t nanoseconds) {
    now += nanoseconds;
}
void SetWallClock(std::uint64_t ticks) {
    wallClockAtZero = ticks;
}
void SetTicks(Ticks chosen) {
    clockTicks = chosen;
}
int RaisedTimerPeriods() {
    return raisedPeriods;
}
void Record(bool on) {
    recording = on;
}
bool IsRecording() {
    return recording;
}
void Note(const char* format, ...) {
    if (!recording) {
        return;
    }
    std::array<char, 256> text{};
    std::va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text.data(), text.size(), format, arguments);
    va_end(arguments);
    rig_note(text.data());
}

} // namespace host

std::uint64_t rig::clock::Now() {
    return host::Now();
}
void rig::clock::Wait(std::uint64_t nanoseconds) {
    host::Advance(nanoseconds);
    if (host::duringWait) {
        host::duringWait();
    }
}

using host::Note;
using host::SystemCall;

/// At fault it sleeps longer or shorter.
void Sleep(DWORD milliseconds) {
    Note("Sleep(%u)", milliseconds);
    now += DurationOf(SystemCall("Sleep").Count(milliseconds) * kNanosecondsPerMillisecond);
}

DWORD GetCurrentThreadId() {
    static std::atomic<DWORD> threads = 0;
    thread_local const DWORD id = ++threads;
    return id;
}

/// At fault the time is the fault's status, in both words.
void GetSystemTimePreciseAsFileTime(FILETIME* time) {
    const std::uint64_t ticks = kTicksFrom1601To1970 + wallClockAtZero + now / 100;
    const SystemCall call("GetSystemTimePreciseAsFileTime");
    time->dwLowDateTime = call.Status(static_cast<DWORD>(ticks));
    time->dwHighDateTime = call.Status(static_cast<DWORD>(ticks >> 32));
}

ULONGLONG GetTickCount64() {
    return now / kNanosecondsPerMillisecond;
}

int localtime_s(std::tm* local, const std::time_t* seconds) {
    constexpr int kInvalid = 22;
    const SystemCall call("localtime_s");
    if (!call.Fails() && localtime_r(seconds, local) != nullptr) {
        return 0;
    }
    local->tm_sec = local->tm_min = local->tm_hour = -1; // as the real one does
    local->tm_mday = local->tm_mon = local->tm_year = -1;
    local->tm_wday = local->tm_yday = local->tm_isdst = -1;
    return static_cast<int>(call.Status(kInvalid));
}

// Calls are counted even if they are refused: they have to come in pairs.

unsigned timeBeginPeriod(unsigned milliseconds) {
    Note("timeBeginPeriod(%u)", milliseconds);
    ++raisedPeriods;
    return SystemCall("timeBeginPeriod").Status();
}

unsigned timeEndPeriod(unsigned milliseconds) {
    Note("timeEndPeriod(%u)", milliseconds);
    --raisedPeriods;
    return SystemCall("timeEndPeriod").Status();
}
