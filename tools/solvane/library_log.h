/// What the library writes into its log, and what can be learnt from it alone: which kinds of
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
    std::string_view kind;     ///< by the marks that it leaves in the log
    std::optional<int> status; ///< of its availability check, 0 if it answered; empty until known
    std::vector<std::string> lines; ///< what was logged while it was asked
};

class LibraryLog {
  public:
    /// With `echoLines` every line goes to standard error, too.
    explicit LibraryLog(bool echoLines) {
        if (echoLines) {
            echo.emplace();
        }
    }

    /// The log function for the library; the context is the LibraryLog. Timers call it from other
    /// threads too, but only when no hardware is looked for: nothing is kept of those lines.
    static void SOLVANE_CALL Receive(void* context, const char* line) noexcept;

    /// In the order in which they were tried, several times if the library looked several times.
    const std::vector<Candidate>& Candidates() const { return candidates; }

    /// Has every line kept from now on.
    void KeepLines() { keepsLines = true; }

    /// What was logged since then.
    std::vector<std::string> Lines() const;

    /// Forgets that a line could not be read. Before one is asked for.
    void ForgetLostRead() { lostRead.clear(); }

    /// What the log tells of a line that could not be read since then; empty if each could. The
    /// library itself answers such a question with what does least harm, and with status 0.
    const std::string& LostRead() const { return lostRead; }

    /// The kind that the library settled on; empty when none answered.
    std::optional<std::string_view> Answered() const;

    /// The kind that the library tried last, which serves if any does; empty before the first.
    std::optional<std::string_view> LastTried() const;

  private:
    void Read(std::string_view line);

    static constexpr std::string_view kUnknownKind = "unknown hardware";

    std::optional<LogEcho> echo;
    std::string_view announced = kUnknownKind; ///< of the candidate that comes next
    std::vector<Candidate> candidates;
    std::string lostRead;
    bool keepsLines = false;
    mutable std::mutex keeping; ///< timers log on threads of their own
    std::vector<std::string> lines;
};

} // namespace host
