/// The one log of the library: it assembles each message into a time-stamped line and hands the
/// line to the host's function.
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

/// Anything that a LogText takes. It is formatted only when somebody listens.
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

/// The hosts of two timers may log at once, and Windows may end a thread in the middle of a line
/// when the process exits. So nothing here ever waits: the open line belongs to one thread at a
/// time, and a thread that finds it taken writes a line of its own. Calls that do not overlap share
/// the open line, from whatever threads they come.
///
/// No log step fails for lack of memory. An exception of the host's function passes through.
struct Logger {
    void* context = nullptr;
    LogCallback callback = nullptr; ///< null: logging is off
    LogText stream;                 ///< the open line, empty between lines

    /// Installs the host's function and drops whatever line was being built.
    void Install(void* newContext, LogCallback newCallback);

    /// Adds pieces to the open line without ending it; the next Line() goes on with it. Costs one
    /// test of a pointer when nobody listens: hand over what is expensive to make as an object
    /// whose operator<< makes it.
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

    /// Adds the stamp of now to the open line.
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

    // Local time: asked from the calendar by the thread that has the open line, once a second.
    // Lines come in bursts, and the calendar takes locks of the system's own, which a thread that
    // finds the open line taken must not wait for.
    LocalSecond stampedSecond{kNever, {}};
    std::atomic<std::uint32_t> secondsEast = 0; ///< of UTC, 0 to 86,399
};

/// The process-wide log.
extern Logger s_logger;

} // namespace SLV::Internal
