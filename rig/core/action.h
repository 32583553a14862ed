/// The actions on a running rig. Commands, events in scenarios and the journal use the same words.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace rig {

class Rig;

struct Action {
    std::string text;                         ///< as one writes it: "set exposure_ms 80"
    std::optional<std::string> scenario = {}; ///< the new hardware, for kReplace
    bool isJournaled = true;                  ///< whether `text` goes into the journal
    std::function<void(Rig&)> work;
};

using Words = std::vector<std::string>;

struct ActionKind {
    std::string_view name;
    std::string_view arguments; ///< "KEY VALUE"
    std::string_view meaning;
    /// Reads the words after the name, or throws ActionError. `chips` is the number of USB chips.
    Action (*read)(const Words& words, std::size_t chips);
};

std::span<const ActionKind> ActionKinds();

/// The action that replaces the whole hardware. Its words: "scenario", a name, the scenario's text.
inline constexpr std::string_view kReplace = "scenario";
/// The action that takes free text.
inline constexpr std::string_view kNote = "note";

/// Words that are no action. The message lists what would be.
struct ActionError : std::runtime_error {
    using runtime_error::runtime_error;
};

/// Reads an action from its name and arguments, or throws ActionError.
Action ReadAction(Words words, std::size_t chips);

/// Splits "fault FT_Write status=4" at blanks.
Words WordsOf(std::string_view text);

/// Joins the words with blanks.
std::string Line(const Words& words);

/// The message for an unknown name: "'trigge' is no line; there are trigger, ready".
std::string NoSuch(std::string_view what, std::string_view name,
                   std::span<const std::string> names);

} // namespace rig
