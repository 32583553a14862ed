/// The log of the library: assembles messages into time-stamped lines for the host's function.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <span>
#include <string_view>
#include <type_traits>

#include <solvane/solvane.h>

#include "log_text.h"

namespace SLV::Internal {

using LogCallback = SolvaneLogCallback;

/// Anything that a LogText takes, formatted only when logging is on.
class LogPiece {
  public:
    explicit LogPiece(std::string_view text) : object(text.data()), length(text.size()) {}

    template <typename Value>
    requires(!std::is_convertible_v<const Value&, std::string_view>) explicit LogPiece(
        const Value& value)
        : object(&value), write([](LogText& line, const void* piece) {
              line << *static_cast<const Value*>(piece);
          }) {}

    void WriteTo(LogText& line) const {
        if (write != nullptr) {
            write(line, object);
        } else {
            line << std::string_view(static_cast<const char*>(object), length);
        }
    }

  private:
    const void* object;
    std::size_t length = 0;
    void (*write)(LogText&, const void*) = nullptr; ///< null: it is a text
};

/// Timers log on several threads, and at the exit of a process Windows may end a thread in the
/// middle of a line. So nothing here ever waits: the open line belongs to one thread at a time, and
/// a thread that finds it taken writes a line of its own. Calls that do not overlap share the open
/// line, whatever their threads.
///
/// No log step fails for lack of memory. An exception of the host's function passes through.
struct Logger {
    void* context = nullptr;
    LogCallback callback = nullptr; ///< null: logging is off
    LogText stream;                 ///< the open line, empty between lines

    /// Installs the host's function and drops whatever line was being built.
    void Install(void* newContext, LogCallback newCallback);

    /// Adds pieces to the open line without ending it; the next Line() continues it. Without a
    /// callback it costs one test of a pointer: pass what is expensive to format as an object whose
    /// operator<< does it.
    template <typename... Pieces>
    void Append(const Pieces&... pieces) {
        if (callback != nullptr) {
            const LogPiece list[] = {LogPiece(pieces)...};
            Write(list, LineEnd::Open);
        }
    }

    /// Adds pieces and ends the line.
    template <typename... Pieces>
    void Line(const Pieces&... pieces) {
        if (callback != nullptr) {
            const LogPiece list[] = {LogPiece(pieces)...};
            Write(list, LineEnd::Ended);
        }
    }

    /// Ends the open line: delivers it, even if it is empty, and starts a new one.
    void Flush();

    void WriteTimestamp();

  private:
    struct LocalSecond {
        std::uint64_t begin; ///< 100 ns ticks since 1970
        std::array<char, sizeof "[HH:MM:SS." - 1> text;
    };
    enum class LineEnd : std::uint8_t { Open, Ended };
    class Turn;

    static constexpr std::uint64_t kNever = std::uint64_t{1} << 63;

    void Write(std::span<const LogPiece> pieces, LineEnd end);
    bool Add(std::span<const LogPiece> pieces, LogText& line);
    static void PutStamp(LogText& line, std::uint64_t ticks, const LocalSecond& second);
    LocalSecond SecondOf(std::uint64_t ticks) const;
    void Deliver(LogText& line) const;

    std::atomic<std::uint32_t> writer = 0; ///< the thread that has the open line; 0: none

    // Local time, asked from the calendar once a second and by the thread that has the open line
    // alone: the calendar takes locks of the system's, and no other thread here may wait for them.
    LocalSecond stampedSecond{kNever, {}};
    std::atomic<std::uint32_t> secondsEast = 0; ///< of UTC, 0 to 86,399
};

extern Logger s_logger;

} // namespace SLV::Internal
