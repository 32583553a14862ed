/// The commands besides actions: what one can ask, and what one can wait for.
#pragma once

#include <cstdint>
#include <span>
#include <stop_token>
#include <string>
#include <string_view>

#include "action.h"
#include "json.h"
#include "rig_state.h"

namespace rig {

/// A reply both as people and as programs read it.
struct Told {
    int exitCode = 0;
    std::string text = {};
    Json json = {};
    std::uint64_t next = 0;
};

/// A command's words behind its name, of which each can be used once.
class Arguments {
  public:
    explicit Arguments(std::span<const std::string> given);

    /// The next word; empty when there is none.
    std::string Word();
    /// The milliseconds behind an option such as --within, in ns.
    std::uint64_t Milliseconds(std::string_view option, std::uint64_t otherwise);
    std::uint64_t Number(std::string_view option, std::uint64_t otherwise);
    bool Has(std::string_view option) const;

    /// Throws ActionError when words are left.
    void RefuseOthers() const;

  private:
    std::string ValueOf(std::string_view option);

    Words words;
};

struct CommandKind {
    std::string_view name;
    std::string_view arguments;
    std::string_view meaning;
    /// Throws ActionError for words that make no sense.
    Told (*perform)(Arguments arguments, const std::stop_token& stop);
};

// The questions.
Told TellLevels(Arguments arguments, const std::stop_token& stop);
Told TellCaptures(Arguments arguments, const std::stop_token& stop);
Told TellCalls(Arguments arguments, const std::stop_token& stop);
Told TellJournal(Arguments arguments, const std::stop_token& stop);
Told TellStatus(Arguments arguments, const std::stop_token& stop);

Told Keep(Arguments arguments, const std::stop_token& stop);

// What waits.
Told WaitEdge(Arguments arguments, const std::stop_token& stop);
Told ExpectPulse(Arguments arguments, const std::stop_token& stop);

/// Has time pass, with the rig free for others meanwhile, until something is so. False when the
/// time is over before, or somebody wants an end.
bool WaitUntil(const Access& rig, std::uint64_t within, const std::stop_token& stop,
               const std::function<bool()>& isSo);

/// "2000" or "9.5", in ns; throws ActionError for anything else.
std::uint64_t ReadMilliseconds(std::string_view text);
/// "61.1744" for ns.
std::string Milliseconds(std::uint64_t nanoseconds);

/// A line by its name, or throws ActionError.
rig_line ReadLine(const std::string& name);

} // namespace rig
