#include "host_platform.h"

#include <atomic>
#include <cstdio>
#include <ctime>

#include <solvane/rig.h>
#include <timeapi.h>
#include <windows.h>

#include "rig_clock.h"

namespace {

constexpr std::uint64_t kNanosecondsPerMillisecond = 1'000'000;
constexpr std::uint64_t kTicksFrom1601To1970 = 116'444'736'000'000'000;

std::atomic<std::uint64_t> now{0};
std::atomic<std::uint64_t> wallClockAtZero{0};
std::atomic<int> raisedPeriods{0};
std::atomic<bool> recording{true};

void Note(const char* function, unsigned argument) {
    if (!recording) {
        return;
    }
    char text[64];
    std::snprintf(text, sizeof text, "%s(%u)", function, argument);
    rig_note(text);
}

} // namespace

namespace host {

std::uint64_t Now() {
    return now;
}
void Advance(std::uint64_t nanoseconds) {
    now += nanoseconds;
}
void SetWallClock(std::uint64_t ticks) {
    wallClockAtZero = ticks;
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

} // namespace host

/// The rig's clock.
std::uint64_t rig::clock::Now() {
    return host::Now();
}
void rig::clock::Wait(std::uint64_t nanoseconds) {
    host::Advance(nanoseconds);
}

void Sleep(DWORD milliseconds) {
    Note("Sleep", milliseconds);
    now += milliseconds * kNanosecondsPerMillisecond;
}

void GetSystemTimePreciseAsFileTime(FILETIME* time) {
    const std::uint64_t ticks = kTicksFrom1601To1970 + wallClockAtZero + now / 100;
    time->dwLowDateTime = static_cast<DWORD>(ticks);
    time->dwHighDateTime = static_cast<DWORD>(ticks >> 32);
}

int localtime_s(std::tm* local, const std::time_t* seconds) {
    return localtime_r(seconds, local) != nullptr ? 0 : 22;
}

unsigned timeBeginPeriod(unsigned milliseconds) {
    Note("timeBeginPeriod", milliseconds);
    ++raisedPeriods;
    return 0;
}

unsigned timeEndPeriod(unsigned milliseconds) {
    Note("timeEndPeriod", milliseconds);
    --raisedPeriods;
    return 0;
}
