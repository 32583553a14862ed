#include "logger.h"

#include <cstdint>
#include <ctime>
#include <string>

#include "clock.h"

namespace SLV::Internal {

namespace {

constexpr std::uint64_t kTicksPerMillisecond = 10'000;
constexpr std::uint64_t kTicksPerSecond = 10'000'000;

/// 100 ns ticks since 1 January 1970. Windows counts from 1601.
std::uint64_t SystemClockTicks() {
    constexpr std::uint64_t kTicksFrom1601To1970 = 116'444'736'000'000'000;
    platform::FILETIME time{};
    platform::GetSystemTimePreciseAsFileTime(&time);
    const std::uint64_t high = time.dwHighDateTime;
    return (high << 32 | time.dwLowDateTime) - kTicksFrom1601To1970;
}

} // namespace

Logger s_logger;

void Logger::Install(void* newContext, LogCallback newCallback) {
    std::ostringstream fresh;
    context = newContext;
    callback = newCallback;
    stream.str({});
    stream.swap(fresh);
}

void Logger::WriteTimestamp() {
    const std::uint64_t ticks = SystemClockTicks();
    const std::uint64_t milliseconds = ticks / kTicksPerMillisecond;
    const auto calendarSeconds = static_cast<std::time_t>(ticks / kTicksPerSecond);

    // Lines come in bursts: the calendar is asked once a second.
    if (calendarSeconds != stampedSecond) {
        stampedSecond = calendarSeconds;
        std::tm local{};
        platform::localtime_s(&local, &calendarSeconds);
        std::strftime(stamp, sizeof stamp, "[%H:%M:%S.", &local);
    }
    const auto digit = [&](unsigned unit) {
        return static_cast<char>('0' + milliseconds / unit % 10);
    };
    const char fraction[] = {digit(100), digit(10), digit(1), ']', ' '};
    stream.write(stamp, sizeof stamp - 1).write(fraction, sizeof fraction);

    // The fill character stays '0' for the rest of the stream's life: hosts have long received
    // zero-padded numbers in whatever follows, and scripts read them.
    stream.fill('0');
}

void Logger::Flush() {
    if (callback == nullptr) {
        return;
    }
    const std::string line = stream.str();
    callback(context, line.c_str());
    stream.str({});
}

} // namespace SLV::Internal
