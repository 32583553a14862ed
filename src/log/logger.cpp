#include "logger.h"

#include <algorithm>
#include <ctime>
#include <string_view>

#include "clock.h"
#include "kernel.h"

namespace SLV::Internal {

namespace {

constexpr std::uint32_t kTicksPerMillisecond = 10'000;
constexpr std::uint64_t kTicksPerSecond = 10'000'000;
constexpr std::uint32_t kSecondsPerDay = 86'400;

/// 100 ns ticks since 1 January 1970. Windows counts from 1601.
std::uint64_t SystemClockTicks() {
    constexpr std::uint64_t kTicksFrom1601To1970 = 116'444'736'000'000'000;
    platform::FILETIME time{};
    platform::GetSystemTimePreciseAsFileTime(&time);
    const std::uint64_t high = time.dwHighDateTime;
    return (high << 32 | time.dwLowDateTime) - kTicksFrom1601To1970;
}

/// How far local time is ahead of UTC at a second since 1970, less than a day. 0 for a time that
/// the calendar does not reach.
std::uint32_t SecondsEast(std::uint64_t second) {
    const auto calendarSecond = static_cast<std::time_t>(second);
    std::tm local{};
    if (platform::localtime_s(&local, &calendarSecond) != 0) {
        return 0;
    }
    const auto ofLocalDay =
        static_cast<std::uint32_t>((local.tm_hour * 60 + local.tm_min) * 60 + local.tm_sec);
    const auto ofUtcDay = static_cast<std::uint32_t>(second % kSecondsPerDay);
    return (ofLocalDay + kSecondsPerDay - ofUtcDay) % kSecondsPerDay;
}

char Digit(std::uint32_t number) {
    return static_cast<char>('0' + number % 10);
}

} // namespace

Logger s_logger;

/// Takes the open line while it lives, unless another thread has it. A thread that has it already,
/// because the host's function calls the library, keeps it.
class Logger::Turn {
  public:
    explicit Turn(std::atomic<std::uint32_t>& ofLogger) : writer(ofLogger) {
        const std::uint32_t thisThread = platform::GetCurrentThreadId();
        std::uint32_t present = 0;
        isFirst = writer.compare_exchange_strong(present, thisThread, std::memory_order_acquire);
        isMine = isFirst || present == thisThread;
    }
    ~Turn() {
        if (isFirst) {
            writer.store(0, std::memory_order_release);
        }
    }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;

    bool HasOpenLine() const { return isMine; }

  private:
    std::atomic<std::uint32_t>& writer;
    bool isFirst;
    bool isMine;
};

void Logger::Install(void* newContext, LogCallback newCallback) {
    const Turn turn(writer);
    context = newContext;
    callback = newCallback;
    if (newCallback != nullptr) { // here, so that concurrent first lines both have it
        secondsEast.store(SecondsEast(SystemClockTicks() / kTicksPerSecond),
                          std::memory_order_relaxed);
    }
    if (turn.HasOpenLine()) {
        stream.Clear();
        stream.fill = ' ';
    }
}

void Logger::Write(std::span<const LogPiece> pieces, LineEnd end) {
    const Turn turn(writer);
    if (!turn.HasOpenLine()) {
        LogText own;
        if (Add(pieces, own)) {
            Deliver(own);
        }
    } else if (Add(pieces, stream) && end == LineEnd::Ended) {
        Deliver(stream);
    }
}

/// False when the host's function was removed meanwhile.
bool Logger::Add(std::span<const LogPiece> pieces, LogText& line) {
    for (const LogPiece& piece : pieces) {
        if (callback == nullptr) {
            return false;
        }
        if (line.IsEmpty()) {
            if (&line == &stream) {
                WriteTimestamp();
            } else {
                const std::uint64_t ticks = SystemClockTicks();
                PutStamp(line, ticks, SecondOf(ticks));
            }
        }
        piece.WriteTo(line);
    }
    return true;
}

/// Writes the stamp of a tick, given the second that it is in.
void Logger::PutStamp(LogText& line, std::uint64_t ticks, const LocalSecond& second) {
    const auto milliseconds =
        static_cast<std::uint32_t>(ticks - second.begin) / kTicksPerMillisecond;
    const char ofSecond[] = {Digit(milliseconds / 100), Digit(milliseconds / 10),
                             Digit(milliseconds), ']', ' '};
    line << std::string_view(second.text.data(), second.text.size())
         << std::string_view(ofSecond, sizeof ofSecond);

    // Stays so until a function is installed: scripts read the zero-padded numbers that follow.
    line.fill = '0';
}

void Logger::WriteTimestamp() {
    const std::uint64_t ticks = SystemClockTicks();
    if (ticks - stampedSecond.begin >= kTicksPerSecond) { // a later one, or an earlier one
        secondsEast.store(SecondsEast(ticks / kTicksPerSecond), std::memory_order_relaxed);
        stampedSecond = SecondOf(ticks);
    }
    PutStamp(stream, ticks, stampedSecond);
}

Logger::LocalSecond Logger::SecondOf(std::uint64_t ticks) const {
    const std::uint64_t second = ticks / kTicksPerSecond;
    const auto ofDay = static_cast<std::uint32_t>(
        (second % kSecondsPerDay + secondsEast.load(std::memory_order_relaxed)) % kSecondsPerDay);
    const std::uint32_t hours = ofDay / 3600;
    const std::uint32_t minutes = ofDay / 60 % 60;
    const std::uint32_t seconds = ofDay % 60;
    return {second * kTicksPerSecond,
            {'[', Digit(hours / 10), Digit(hours), ':', Digit(minutes / 10), Digit(minutes), ':',
             Digit(seconds / 10), Digit(seconds), '.'}};
}

void Logger::Flush() {
    const Turn turn(writer);
    LogText none;
    Deliver(turn.HasOpenLine() ? stream : none);
}

void Logger::Deliver(LogText& line) const {
    if (callback == nullptr) {
        return;
    }
    // What the host's function logs is added behind the text that it was given; if it throws, the
    // text stays.
    {
        const LogText::Hold held(line);
        callback(context, held.CString());
    }
    line.Clear();
}

} // namespace SLV::Internal
