#include "action.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>
#include <utility>

#include "rig_state.h"
#include "scenario_tables.h"
#include "utf8.h"

namespace rig {

namespace {

/// Too few words for an action, or too many.
struct UsageError {};

[[noreturn]] void Fail(const std::string& message) {
    throw ActionError(message);
}

std::string Listed(std::span<const std::string> names) {
    std::string list;
    for (const std::string& name : names) {
        list += (list.empty() ? "" : ", ") + name;
    }
    return list;
}

/// Throws UsageError unless the number of words is within the limits.
void ExpectWords(const Words& words, std::size_t fewest, std::size_t most) {
    if (words.size() < fewest || words.size() > most) {
        throw UsageError();
    }
}

std::string OneOf(const std::string& word, const std::vector<std::string>& choices) {
    if (std::ranges::find(choices, word) == choices.end()) {
        Fail("'" + word + "' must be one of " + Listed(choices));
    }
    return word;
}

template <class Number>
std::optional<Number> WholeNumber(std::string_view word) {
    const bool isHexadecimal = word.starts_with("0x");
    word.remove_prefix(isHexadecimal ? 2 : 0);
    Number number{};
    const char* const end = word.data() + word.size();
    const auto [rest, error] = std::from_chars(word.data(), end, number, isHexadecimal ? 16 : 10);
    return error == std::errc() && rest == end ? std::optional(number) : std::nullopt;
}

/// A word as a value of a scenario: a number, true or false, or else a text.
void Insert(toml::table& table, const std::string& key, const std::string& word) {
    const auto number = WholeNumber<std::int64_t>(word);
    const bool isNew = number ? table.insert(key, *number).second
                       : word == "true" || word == "false"
                           ? table.insert(key, word == "true").second
                           : table.insert(key, word).second;
    if (!isNew) {
        Fail("'" + key + "' is there twice");
    }
}

/// Reads words as the table of a scenario that they stand for, with the same error messages.
template <class Read>
auto ReadTable(const toml::table& source, const char* name, Read read) {
    try {
        TableReader table(source, name);
        auto value = read(table);
        table.RefuseOtherKeys();
        return value;
    } catch (const ScenarioError& mistake) {
        throw ActionError(mistake.what());
    }
}

// ---- The actions ----

Action ReadPlugged(bool plugged, const Words& words, std::size_t chips) {
    ExpectWords(words, 0, 1);
    const auto chip = words.empty() ? 0U : WholeNumber<unsigned>(words[0]);
    if (!chip || *chip >= chips) {
        Fail("there is no chip " + (words.empty() ? "0" : words[0]) + "; " +
             (chips == 0   ? "there are none"
              : chips == 1 ? "there is 0"
                           : "there are 0 to " + std::to_string(chips - 1)));
    }
    return {.text = (plugged ? "plug " : "unplug ") + std::to_string(*chip),
            .work = [chip = *chip, plugged](Rig& rig) { rig.SetPlugged(chip, plugged); }};
}

Action ReadUnplug(const Words& words, std::size_t chips) {
    return ReadPlugged(false, words, chips);
}

Action ReadPlug(const Words& words, std::size_t chips) {
    return ReadPlugged(true, words, chips);
}

Action ReadReady(const Words& words, std::size_t) {
    ExpectWords(words, 0, 1);
    if (words.empty() || OneOf(words[0], {"on", "off"}) == "on") {
        return {.text = "ready on", .work = [](Rig& rig) { rig.installation->BecomeReady(); }};
    }
    return {.text = "ready off", .work = [](Rig& rig) { rig.installation->BecomeBusy(); }};
}

Action ReadMep(const Words& words, std::size_t) {
    ExpectWords(words, 1, 1);
    OneOf(words[0], {"latch"});
    return {.text = "mep latch", .work = [](Rig& rig) { rig.installation->LatchMep(); }};
}

Action ReadOpenDriver(const Words& words, std::size_t) {
    ExpectWords(words, 0, 0);
    return {.text = "open-driver", .work = [](Rig& rig) { rig.OpenDriver(); }};
}

Action ReadSleep(const Words& words, std::size_t) {
    constexpr std::uint64_t kMost = 86'400'000; // a day
    ExpectWords(words, 0, 1);
    const auto milliseconds = words.empty() ? 1000 : WholeNumber<std::uint64_t>(words[0]);
    if (!milliseconds || *milliseconds > kMost) {
        Fail("'" + words[0] + "' is no number of milliseconds from 0 to " + std::to_string(kMost));
    }
    return {.text = Line({"sleep", words.empty() ? "" : words[0]}),
            .work = [duration = *milliseconds * kNanosecondsPerMillisecond](Rig& rig) {
                rig.Sleep(duration);
            }};
}

Action ReadSet(const Words& words, std::size_t) {
    ExpectWords(words, 2, 2);
    toml::table source;
    Insert(source, words[0], words[1]);
    const auto change = [source](CameraBehaviour& behaviour) {
        return ReadTable(source, "set", [&](TableReader& table) {
            const std::optional<bool> asleep = table.Boolean("asleep");
            ReadBehaviour(table, behaviour);
            return asleep;
        });
    };
    CameraBehaviour tried;
    change(tried);
    return {.text = "set " + Line(words), .work = [change](Rig& rig) {
                const std::optional<bool> asleep = change(rig.installation->Behaviour());
                if (asleep) {
                    rig.installation->SetAsleep(*asleep);
                }
            }};
}

Action ReadWire(const Words& words, std::size_t) {
    ExpectWords(words, 2, words.size());
    toml::table source;
    source.insert(words[0], Line({words.begin() + 1, words.end()}));
    const std::vector<WireFault> faults = ReadTable(source, "wire", ReadWiring);
    return {.text = "wire " + Line(words), .work = [wire = words[0], faults](Rig& rig) {
                rig.installation->Rewire(wire, faults.empty() ? std::nullopt
                                                              : std::optional(faults.front()));
            }};
}

Action ReadForce(const Words& words, std::size_t) {
    ExpectWords(words, 2, 2);
    const rig_line line = OneOf(words[0], {"ready", "mep"}) == "ready" ? RIG_READY : RIG_MEP;
    const std::string level = OneOf(words[1], {"0", "1", "free"});
    return {.text = "force " + Line(words), .work = [line, level](Rig& rig) {
                rig.installation->Force(line, level == "free" ? std::nullopt
                                                              : std::optional(level == "1"));
            }};
}

Action ReadFaultAction(const Words& words, std::size_t) {
    ExpectWords(words, 2, words.size());
    toml::table source;
    source.insert("function", words[0]);
    for (const std::string& word : std::span(words).subspan(1)) {
        const std::size_t equals = word.find('=');
        if (equals == word.npos) {
            Insert(source, word, "true");
        } else {
            Insert(source, word.substr(0, equals), word.substr(equals + 1));
        }
    }
    const Fault fault = ReadTable(source, "fault", ReadFault);
    const bool isNextCall = !source.contains("call");
    return {.text = "fault " + Line(words), .work = [fault, isNextCall](Rig& rig) {
                Fault planned = fault;
                if (isNextCall) {
                    planned.call = rig.faults.Calls(fault.function) + 1;
                }
                rig.faults.Add(planned);
            }};
}

Action ReadLift(const Words& words, std::size_t) {
    ExpectWords(words, 0, 1);
    if (words.empty()) {
        return {.text = "lift", .work = [](Rig& rig) { rig.faults.Clear(); }};
    }
    if (const auto id = WholeNumber<std::uint32_t>(words[0])) {
        return {.text = "lift " + words[0], .work = [id](Rig& rig) { rig.faults.Clear(*id); }};
    }
    const std::vector<std::string> names = FunctionNames();
    if (std::ranges::find(names, words[0]) == names.end()) {
        Fail(NoSuch("function", words[0], names));
    }
    return {.text = "lift " + words[0],
            .work = [function = words[0]](Rig& rig) { rig.faults.Clear(function); }};
}

Action ReadNote(const Words& words, std::size_t) {
    const std::string text = PlainLine(Line(words));
    return {.text = "note " + text, .isJournaled = false, .work = [text](Rig& rig) {
                rig.trace.Note(text);
            }};
}

Action ReadReplace(const Words& words, std::size_t) {
    ExpectWords(words, 2, 2);
    const std::string name = PlainLine(words[0]);
    try {
        const Scenario scenario = ParseScenario(words[1]);
        if (scenario.session) {
            Fail(name + " is a session, which begins with the rig");
        }
        return {.text = Line({std::string(kReplace), name}),
                .scenario = words[1],
                .work = [name, scenario](Rig& rig) { rig.Replace(scenario, name); }};
    } catch (const ScenarioError& mistake) {
        Fail(name + ": " + mistake.what());
    }
}

constexpr std::array kKinds = {
    ActionKind{"unplug", "[CHIP]", "pulls the plug of a USB chip, 0 unless said", ReadUnplug},
    ActionKind{"plug", "[CHIP]", "puts the plug back", ReadPlug},
    ActionKind{"ready", "[on|off]",
               "the camera becomes ready, or busy until it is made ready; if it is powered",
               ReadReady},
    ActionKind{"mep", "latch", "latches the MEP flag", ReadMep},
    ActionKind{"open-driver", "", "opens InpOut's kernel driver", ReadOpenDriver},
    ActionKind{"sleep", "[MS]", "the PC sleeps for so long, 1000 ms unless said", ReadSleep},
    ActionKind{"set", "KEY VALUE",
               "changes how the camera behaves: exposure_ms, ready_after_power_ms, mep, asleep",
               ReadSet},
    ActionKind{"wire", "WIRE CONDITION",
               "broken, 'stuck at 0', inverted, 'swapped with dark', 'shorted to dark', healthy",
               ReadWire},
    ActionKind{"force", "ready|mep 0|1|free",
               "holds a line at a level, whatever the camera does, or lets go of it", ReadForce},
    ActionKind{
        "fault", "FUNCTION [status=N] [count=N] [silent] [call=N] [times=N]",
        "makes calls fail: the next one, or from the Nth on; with times=0 until it is lifted",
        ReadFaultAction},
    ActionKind{"lift", "[FUNCTION|ID]",
               "lifts the faults of a function, one by its id (see state), or all", ReadLift},
    ActionKind{kNote, "TEXT", "writes a line into the journal", ReadNote},
    ActionKind{kReplace, "FILE", "replaces the whole hardware; counts and journal go on",
               ReadReplace},
};

} // namespace

std::span<const ActionKind> ActionKinds() {
    return kKinds;
}

Action ReadAction(Words words, std::size_t chips) {
    const std::string name = words.empty() ? "" : words[0];
    const auto kind = std::ranges::find(kKinds, name, &ActionKind::name);
    if (kind == kKinds.end()) {
        std::vector<std::string> names;
        for (const ActionKind& each : kKinds) {
            names.emplace_back(each.name);
        }
        Fail(NoSuch("action", name, names));
    }
    words.erase(words.begin());
    try {
        return kind->read(words, chips);
    } catch (const UsageError&) {
        Fail("usage: " + Line({name, std::string(kind->arguments)}));
    }
}

Words WordsOf(std::string_view text) {
    Words words;
    for (std::size_t begin = 0; (begin = text.find_first_not_of(' ', begin)) != text.npos;) {
        const std::size_t end = std::min(text.find(' ', begin), text.size());
        words.emplace_back(text.substr(begin, end - begin));
        begin = end;
    }
    return words;
}

std::string Line(const Words& words) {
    std::string line;
    for (const std::string& word : words) {
        line += (line.empty() || word.empty() ? "" : " ") + word;
    }
    return line;
}

std::string NoSuch(std::string_view what, std::string_view name,
                   std::span<const std::string> names) {
    return "'" + std::string(name) + "' is no " + std::string(what) + "; there are " +
           Listed(names);
}

} // namespace rig
