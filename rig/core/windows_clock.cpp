/// The rig's clock on Windows: real time.
#include "rig_clock.h"

#include <windows.h>

std::uint64_t rig::clock::Now() {
    static const auto frequency = [] {
        LARGE_INTEGER ticksPerSecond;
        QueryPerformanceFrequency(&ticksPerSecond);
        return static_cast<std::uint64_t>(ticksPerSecond.QuadPart);
    }();
    constexpr std::uint64_t nanosecondsPerSecond = 1'000'000'000;

    LARGE_INTEGER counter;
    QueryPerformanceCounter(&counter);
    const auto ticks = static_cast<std::uint64_t>(counter.QuadPart);
    // In two parts: the product of the whole would overflow after minutes at high frequencies.
    return ticks / frequency * nanosecondsPerSecond +
           ticks % frequency * nanosecondsPerSecond / frequency;
}

void rig::clock::Wait(std::uint64_t nanoseconds) {
    constexpr std::uint64_t nanosecondsPerMillisecond = 1'000'000;
    Sleep(static_cast<DWORD>((nanoseconds + nanosecondsPerMillisecond - 1) /
                             nanosecondsPerMillisecond));
}
