#include "commands.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <exception>
#include <utility>

#include "command_table.h"

namespace rig {

namespace {

Report ReportHelp(Arguments arguments, const IsUnwanted& isUnwanted);

constexpr std::array kCommands = {
    CommandKind{"levels", "", "the levels of the lines, 1 means active", ReportLevels},
    CommandKind{"captures", "", "how many captures the camera has made", ReportCaptures},
    CommandKind{"calls", "[FUNCTION]", "how often each vendor function was called, or one",
                ReportCalls},
    CommandKind{"journal", "[--since N] [--most COUNT] [--within MS]",
                "what happened, from entry N on; with --within, waits until there is something",
                ReportJournal},
    CommandKind{"status", "", "what the rig is, and how far it has come", ReportStatus},
    CommandKind{"state", "", "levels, camera, chips, wires, faults, hosts", ReportState},
    CommandKind{"vcd", "FILE", "writes the lines, as far as the journal goes back, as a waveform",
                ReportWaveform},
    CommandKind{"keep", "FILE",
                "writes the session so far as a scenario: with it, the same host meets the same",
                Keep},
    CommandKind{"wait-edge", "\"LINE 0|1\" [--within MS] [--since N]",
                "waits for the next such edge, or that from entry N on, 5000 ms unless said",
                WaitEdge},
    CommandKind{"expect-pulse", "LINE FROM..TO [--within MS] [--since N]",
                "waits for a pulse to begin and end, and says whether its width is in the range",
                ExpectPulse},
    CommandKind{"help", "[COMMAND]", "these commands, or one", ReportHelp},
};

void ExpectCommand(const std::string& name) {
    const std::vector<std::string> names = CommandNames();
    if (std::ranges::find(names, name) == names.end()) {
        throw ActionError(NoSuch("command", name, names));
    }
}

Report ReportHelp(Arguments arguments, const IsUnwanted&) {
    const std::string which = arguments.Word();
    arguments.RefuseOthers();
    if (!which.empty()) {
        ExpectCommand(which);
    }
    Report report;
    std::string list;
    const auto add = [&](std::string_view name, std::string_view words, std::string_view meaning) {
        if (!which.empty() && name != which) {
            return;
        }
        const std::string usage = Line({std::string(name), std::string(words)});
        report.text += (report.text.empty() ? "" : "\n") + usage + "\n    " + std::string(meaning);
        list += (list.empty() ? "" : ",") +
                Json().Add("command", name).Add("arguments", words).Add("meaning", meaning).Text();
    };
    for (const ActionKind& action : ActionKinds()) {
        add(action.name, action.arguments, action.meaning);
    }
    for (const CommandKind& command : kCommands) {
        add(command.name, command.arguments, command.meaning);
    }
    report.json.AddRaw("commands", "[" + list + "]");
    return report;
}

Report DoAction(const Words& words) {
    Access rig;
    const Action action = ReadAction(words, rig->Chips());
    rig->Do(action);
    return {
        .text = action.text,
        .json =
            Json().Add("done", action.text).AddRaw("time_ms", Milliseconds(rig->timeline.Now()))};
}

Report Execute(const Words& words, const IsUnwanted& isUnwanted) {
    const std::string name = words.empty() ? "" : words[0];
    ExpectCommand(name);
    const auto command = std::ranges::find(kCommands, name, &CommandKind::name);
    if (command == kCommands.end()) {
        return DoAction(words);
    }
    const std::string usage = Line({name, std::string(command->arguments)});
    return command->perform(Arguments(std::span(words).subspan(1), usage), isUnwanted);
}

} // namespace

std::vector<std::string> CommandNames() {
    std::vector<std::string> names;
    for (const ActionKind& action : ActionKinds()) {
        names.emplace_back(action.name);
    }
    for (const CommandKind& command : kCommands) {
        names.emplace_back(command.name);
    }
    return names;
}

Texts SplitLine(std::string_view line) {
    Texts words;
    bool isInWord = false;
    char quote = 0;
    for (const char c : line) {
        if (quote != 0 ? c == quote : c == '"' || c == '\'') {
            quote = quote != 0 ? '\0' : c;
            words.resize(words.size() + (isInWord ? 0 : 1));
            isInWord = true;
        } else if (quote == 0 && c == ' ') {
            isInWord = false;
        } else {
            words.resize(words.size() + (isInWord ? 0 : 1));
            words.back() += c;
            isInWord = true;
        }
    }
    return words;
}

Reply Perform(const std::vector<std::string>& words, bool json, const IsUnwanted& isUnwanted) {
    Report report;
    try {
        report = Execute(words, isUnwanted);
    } catch (const ActionError& mistake) {
        report = {
            .exitCode = 2, .text = mistake.what(), .json = Json().Add("error", mistake.what())};
    } catch (const std::exception& failure) { // no memory, or nobody waits
        report = {
            .exitCode = 1, .text = failure.what(), .json = Json().Add("error", failure.what())};
    }
    return {report.exitCode, json ? report.json.Text() : report.text, report.next};
}

Arguments::Arguments(std::span<const std::string> given, std::string howItIsUsed)
    : words(given.begin(), given.end()), usage(std::move(howItIsUsed)) {}

std::string Arguments::Word() {
    if (words.empty() || words.front().starts_with("--")) {
        return "";
    }
    std::string word = std::move(words.front());
    words.erase(words.begin());
    return word;
}

bool Arguments::Has(std::string_view option) const {
    return std::ranges::find(words, option) != words.end();
}

std::string Arguments::ValueOf(std::string_view option) {
    const auto found = std::ranges::find(words, option);
    if (found + 1 == words.end()) {
        throw ActionError(std::string(option) + " needs a number");
    }
    std::string value = found[1];
    words.erase(found, found + 2);
    return value;
}

std::uint64_t Arguments::Milliseconds(std::string_view option, std::uint64_t otherwise) {
    return Has(option) ? ReadMilliseconds(ValueOf(option)) : otherwise;
}

std::optional<std::uint64_t> Arguments::Number(std::string_view option) {
    if (!Has(option)) {
        return std::nullopt;
    }
    const std::string text = ValueOf(option);
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size()) {
        throw ActionError("'" + text + "' is no number");
    }
    return number;
}

void Arguments::RefuseOthers() const {
    if (!words.empty()) {
        throw ActionError("'" + words.front() + "' is not understood; usage: " + usage);
    }
}

std::uint64_t ReadMilliseconds(std::string_view text) {
    constexpr std::uint64_t kMost = 86'400'000; // a day
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    std::uint64_t whole = 0;
    const char* const end = text.data() + text.size();
    const std::from_chars_result read = std::from_chars(text.data(), end, whole);
    const char* rest = read.ptr;
    const bool isGood =
        !text.empty() && isDigit(text.front()) && read.ec == std::errc() && whole <= kMost;
    std::uint64_t nanoseconds = isGood ? whole * kNanosecondsPerMillisecond : 0;
    if (isGood && rest != end && *rest == '.') {
        std::uint64_t worth = kNanosecondsPerMillisecond;
        for (++rest; rest != end && isDigit(*rest); ++rest) {
            worth /= 10;
            nanoseconds += static_cast<std::uint64_t>(*rest - '0') * worth;
        }
    }
    if (!isGood || rest != end) {
        throw ActionError("'" + std::string(text) + "' is no number of milliseconds from 0 to " +
                          std::to_string(kMost));
    }
    return nanoseconds;
}

std::string Milliseconds(std::uint64_t nanoseconds) {
    const std::uint64_t rest = nanoseconds % kNanosecondsPerMillisecond;
    std::string digits = std::to_string(kNanosecondsPerMillisecond + rest).substr(1);
    digits.erase(digits.find_last_not_of('0') + 1);
    return std::to_string(nanoseconds / kNanosecondsPerMillisecond) +
           (digits.empty() ? "" : "." + digits);
}

} // namespace rig
