/// Receives the library's log and extracts what no function of the library returns: which kinds of
/// hardware were tried, which one answered, and whether a line could be read at all.
#pragma once

#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <solvane/solvane.h>

#include "log_echo.h"

namespace host {

/// One kind of hardware that the library looked for.
struct Candidate {
    std::string_view kind;     ///< recognised by words in the log
    std::optional<int> status; ///< of its availability check, 0 if it answered; empty until known
    std::vector<std::string> lines; ///< logged while it was tried
};

class LibraryLog {
  public:
    /// With `echoLines` every line is also written to standard error.
    explicit LibraryLog(bool echoLines) {
        if (echoLines) {
            echo.emplace();
        }
    }

    /// The log function for the library; the context is the LibraryLog. Timers call it on other
    /// threads, but never while the library looks for hardware, so those lines change no candidate.
    static void SOLVANE_CALL Receive(void* context, const char* line) noexcept;

    /// In the order of the tries; a kind appears again each time the library looks again.
    const std::vector<Candidate>& Candidates() const { return candidates; }

    /// Keeps every line from now on.
    void KeepLines() { keepsLines = true; }

    /// The lines logged since KeepLines().
    std::vector<std::string> Lines() const;

    /// Forgets earlier failures to read a line. To be called before reading one.
    void ForgetLostRead() { lostRead.clear(); }

    /// The log's message about a line that could not be read since ForgetLostRead(); empty if there
    /// was none. The library itself returns the safe level and status 0 then.
    const std::string& LostRead() const { return lostRead; }

    /// The kind that the library chose; empty when none answered.
    std::optional<std::string_view> Answered() const;

    /// The kind tried last. If any kind serves, it is this one. Empty before the first try.
    std::optional<std::string_view> LastTried() const;

  private:
    void Read(std::string_view line);

    static constexpr std::string_view kUnknownKind = "unknown hardware";

    std::optional<LogEcho> echo;
    std::string_view announced = kUnknownKind; ///< kind of the next candidate
    std::vector<Candidate> candidates;
    std::string lostRead;
    bool keepsLines = false;
    mutable std::mutex keeping; ///< guards `lines`: timers log on threads of their own
    std::vector<std::string> lines;
};

} // namespace host
