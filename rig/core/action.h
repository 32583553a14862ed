/// What can be done to a running rig: one vocabulary for commands, the events of scenarios and the
/// journal.
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
    std::string text;                         ///< in its own words: "set exposure_ms 80"
    std::optional<std::string> scenario = {}; ///< of the new hardware, where it replaces it
    bool isTold = true;                       ///< whether the journal tells of it in these words
    std::function<void(Rig&)> work;
};

using Words = std::vector<std::string>;

struct ActionKind {
    std::string_view name;
    std::string_view arguments; ///< "KEY VALUE"
    std::string_view meaning;
    /// Reads the words behind the name, or throws ActionError. `chips` are the USB chips there are.
    Action (*read)(const Words& words, std::size_t chips);
};

std::span<const ActionKind> ActionKinds();

/// The action that replaces the whole hardware: its words are this, a name, and a scenario.
inline constexpr std::string_view kReplace = "scenario";
/// The action whose words are text of any kind.
inline constexpr std::string_view kNote = "note";

/// Words that are no action, and what there is instead.
struct ActionError : std::runtime_error {
    using runtime_error::runtime_error;
};

/// Reads the name of an action and what is behind it, or throws ActionError.
Action ReadAction(Words words, std::size_t chips);

/// "fault FT_Write status=4" in words.
Words WordsOf(std::string_view text);

/// The words in one line.
std::string Line(const Words& words);

/// "'trigge' is no line; there are trigger, ready": for a name that is none of those.
std::string NoSuch(std::string_view what, std::string_view name,
                   std::span<const std::string> names);

} // namespace rig
