#include <chrono>

#include <timeapi.h>
#include <windows.h>

void Sleep(DWORD) {}

void GetSystemTimePreciseAsFileTime(FILETIME* time) {
    using Ticks = std::chrono::duration<std::uint64_t, std::ratio<1, 10'000'000>>;
    constexpr std::uint64_t kTicksFrom1601To1970 = 116'444'736'000'000'000;
    const auto sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
    const std::uint64_t ticks =
        kTicksFrom1601To1970 + std::chrono::duration_cast<Ticks>(sinceEpoch).count();
    time->dwLowDateTime = static_cast<DWORD>(ticks);
    time->dwHighDateTime = static_cast<DWORD>(ticks >> 32);
}

int localtime_s(std::tm* local, const std::time_t* seconds) {
    return localtime_r(seconds, local) != nullptr ? 0 : 22;
}

unsigned timeBeginPeriod(unsigned) {
    return 0;
}

unsigned timeEndPeriod(unsigned) {
    return 0;
}
