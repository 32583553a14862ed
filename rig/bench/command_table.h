/// The commands that are not actions: questions and waits.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "action.h"
#include "commands.h"
#include "json.h"
#include "rig_state.h"

namespace rig {

/// A reply, as text for people and as JSON for programs.
struct Report {
    int exitCode = 0;
    std::string text = {};
    Json json = {};
    std::uint64_t next = 0;
};

/// The arguments of a command. Reading one consumes it.
class Arguments {
  public:
    /// `usage` is how the command is used, for error messages.
    Arguments(std::span<const std::string> given, std::string usage);

    /// The next argument; empty when there is none.
    std::string Word();
    /// The value of an option such as --within, which is in milliseconds; returned in ns.
    std::uint64_t Milliseconds(std::string_view option, std::uint64_t otherwise);
    std::optional<std::uint64_t> Number(std::string_view option);
    bool Has(std::string_view option) const;

    /// Throws ActionError when arguments are left.
    void RefuseOthers() const;

  private:
    std::string ValueOf(std::string_view option);

    Words words;
    std::string usage;
};

struct CommandKind {
    std::string_view name;
    std::string_view arguments;
    std::string_view meaning;
    /// Throws ActionError for wrong arguments.
    Report (*perform)(Arguments arguments, const IsUnwanted& isUnwanted);
};

// Questions.
Report ReportLevels(Arguments arguments, const IsUnwanted& isUnwanted);
Report ReportCaptures(Arguments arguments, const IsUnwanted& isUnwanted);
Report ReportCalls(Arguments arguments, const IsUnwanted& isUnwanted);
Report ReportJournal(Arguments arguments, const IsUnwanted& isUnwanted);
Report ReportStatus(Arguments arguments, const IsUnwanted& isUnwanted);
Report ReportState(Arguments arguments, const IsUnwanted& isUnwanted);
Report ReportWaveform(Arguments arguments, const IsUnwanted& isUnwanted);

Report Keep(Arguments arguments, const IsUnwanted& isUnwanted);

// Waits.
Report WaitEdge(Arguments arguments, const IsUnwanted& isUnwanted);
Report ExpectPulse(Arguments arguments, const IsUnwanted& isUnwanted);

/// Waits until the condition holds, with the rig unlocked for others meanwhile. False when the time
/// is over. Throws std::runtime_error when it `isUnwanted` first.
bool WaitUntil(const Access& rig, std::uint64_t within, const IsUnwanted& isUnwanted,
               const std::function<bool()>& isSo);

/// Reads milliseconds such as "2000" or "9.5" and returns ns; throws ActionError for anything else.
std::uint64_t ReadMilliseconds(std::string_view text);
/// Nanoseconds as text in milliseconds: "61.1744".
std::string Milliseconds(std::uint64_t nanoseconds);

/// Entries from number `first` up to `end` as a reply; each is found by `at`. `now` is the rig's
/// time.
Report ReportEntries(std::uint64_t first, std::uint64_t end, std::uint64_t now,
                     const std::function<const Journal::Entry&(std::uint64_t)>& at);

/// "ready              1"
void AddRow(std::string& text, std::string_view name, const std::string& value);

/// A line by its name, or throws ActionError.
rig_line ReadLine(const std::string& name);

} // namespace rig
