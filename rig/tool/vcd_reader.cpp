#include "vcd_reader.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <optional>
#include <unordered_map>

namespace rig::wave {

namespace {

/// The number, if the whole text is one.
std::optional<std::uint64_t> Number(std::string_view text) {
    std::uint64_t value = 0;
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, value);
    return error == std::errc{} && rest == end ? std::optional(value) : std::nullopt;
}

std::optional<Level> LevelOf(char digit) {
    const auto lower = static_cast<char>(std::tolower(static_cast<unsigned char>(digit)));
    const std::size_t level = kLevelDigits.find(lower);
    return level < kLevelDigits.size() ? std::optional(Level{level}) : std::nullopt;
}

/// The exponent of a time scale in ms: -2 for "10us", which is 10^-2 ms.
std::optional<int> TimescaleOf(std::string_view text) {
    static const std::unordered_map<std::string_view, int> counts = {
        {"1", 0}, {"10", 1}, {"100", 2}};
    static const std::unordered_map<std::string_view, int> units = {
        {"s", 3}, {"ms", 0}, {"us", -3}, {"ns", -6}, {"ps", -9}, {"fs", -12}};
    const std::size_t digits = std::min(text.find_first_not_of("10"), text.size());
    const auto count = counts.find(text.substr(0, digits));
    const auto unit = units.find(text.substr(digits));
    const bool isTimescale = count != counts.end() && unit != units.end();
    return isTimescale ? std::optional(count->second + unit->second) : std::nullopt;
}

std::string Printable(std::string_view word) {
    std::string name(word);
    std::replace_if(
        name.begin(), name.end(), [](char c) { return c < '!' || c > '~'; }, '?');
    return name;
}

/// A word for use in a message.
std::string Quoted(std::string_view word) {
    constexpr std::size_t kLongest = 40;
    return '"' + Printable(word.substr(0, kLongest)) + (word.size() > kLongest ? "...\"" : "\"");
}

class VcdReader {
  public:
    explicit VcdReader(std::string_view file) : text(file), word(file.substr(0, 0)) {}

    Recording Read() {
        ReadHeader();
        ReadBody();
        DistinguishNamesakes();
        return std::move(recording);
    }

  private:
    // Words. The VCD grammar has no other tokens.

    /// Reads the next word; false at the end of the file.
    bool Next() {
        constexpr std::string_view kBlanks = " \t\n\v\f\r";
        const auto read = static_cast<std::size_t>(word.data() + word.size() - text.data());
        const std::size_t begin = std::min(text.find_first_not_of(kBlanks, read), text.size());
        const std::size_t end = std::min(text.find_first_of(kBlanks, begin), text.size());
        word = text.substr(begin, end - begin);
        return !word.empty();
    }

    /// The words after the command that was just read, up to $end.
    std::vector<std::string_view> Arguments() {
        const std::string_view command = word;
        std::vector<std::string_view> arguments;
        while (Next()) {
            if (word == "$end") {
                return arguments;
            }
            arguments.push_back(word);
        }
        word = command;
        Fail(Quoted(command) + " is not closed by $end.");
    }

    /// Throws VcdError with the line of the last word.
    [[noreturn]] void Fail(const std::string& sentence) const {
        const auto line = 1 + std::count(text.data(), word.data(), '\n');
        throw VcdError("line " + std::to_string(line) + ": " + sentence);
    }

    // The header.

    void ReadHeader() {
        while (Next()) {
            const std::string_view command = word;
            if (command == "$timescale") {
                ReadTimescale();
            } else if (command == "$var") {
                ReadVariable();
            } else if (command.front() != '$') {
                Fail(Quoted(command) + " is not a command of a VCD header.");
            } else { // $date, $version, $comment and extensions of programs
                const std::vector<std::string_view> arguments = Arguments();
                if (command == "$scope" && arguments.size() != 2) {
                    Fail("$scope takes a kind and a name.");
                } else if (command == "$scope") {
                    scopes.push_back(Printable(arguments[1]) + '.');
                } else if (command == "$upscope" && scopes.empty()) {
                    Fail("$upscope without a $scope before it.");
                } else if (command == "$upscope") {
                    scopes.pop_back();
                } else if (command == "$enddefinitions" && !exponent) {
                    Fail("the header has no $timescale.");
                } else if (command == "$enddefinitions") {
                    return;
                }
            }
        }
        Fail("the file ends before $enddefinitions.");
    }

    void ReadTimescale() {
        std::string written;
        for (const std::string_view part : Arguments()) {
            written += part;
        }
        exponent = TimescaleOf(written);
        if (!exponent) {
            Fail(Quoted(written) + " is not a timescale: 1, 10 or 100 of s, ms, us, ns, ps or fs.");
        }
    }

    void ReadVariable() {
        const std::vector<std::string_view> arguments = Arguments();
        if (arguments.size() < 4) {
            Fail("$var takes a kind, a width, a short name and a name.");
        }
        const std::string kind(arguments[0]);
        const auto width = Number(arguments[1]);
        if (!width) {
            Fail(Quoted(arguments[1]) + " is not the width of a variable.");
        }
        Signal signal;
        for (std::size_t i = 3; i < arguments.size(); ++i) {
            signal.name += Printable(arguments[i]); // "data [3]" is one name
        }
        for (const std::string& scope : scopes) {
            signal.path += scope;
        }
        signal.path += signal.name;

        std::vector<std::size_t>& signals = signalsOfCode[arguments[2]];
        if (kind == "event") {
            eventOfCode[arguments[2]] = signal.name;
            return;
        }
        const std::string leftOut = signal.path + " is left out: it is ";
        if (*width != 1) {
            recording.notes.push_back(leftOut + std::to_string(*width) +
                                      " bits wide, and only single wires are drawn.");
        } else if (kind == "real" || kind == "string") {
            recording.notes.push_back(leftOut + "of the kind " + kind +
                                      ", and only wires are drawn.");
        } else {
            signals.push_back(recording.signals.size());
            recording.signals.push_back(std::move(signal));
        }
    }

    // The values.

    void ReadBody() {
        while (Next()) {
            if (word.front() == '#') {
                ReadTime();
            } else if (word.front() != '$') {
                ReadValue();
            } else if (word != "$end" &&
                       !word.starts_with("$dump")) { // their values are ordinary ones
                Arguments();
            }
        }
    }

    void ReadTime() {
        const auto time = Number(word.substr(1));
        if (!time) {
            Fail(Quoted(word) + " is not a time.");
        }
        if (*time < ticks) {
            Fail("the time goes back from " + std::to_string(ticks) + " to " +
                 std::to_string(*time) + '.');
        }
        ticks = *time;
        // Divide instead of multiplying by a negative power, which a double cannot hold exactly.
        const double power = std::pow(10.0, std::abs(*exponent));
        const auto count = static_cast<double>(ticks);
        recording.end = *exponent < 0 ? count / power : count * power;
        recording.begin = hasBegun ? recording.begin : recording.end;
        hasBegun = true;
    }

    /// "1!" and "b1 !" are values of a single wire. "b01 !", "r1.5 !" and "sIDLE !" belong to
    /// variables that are not drawn.
    void ReadValue() {
        const std::string_view value = word;
        const bool isVector =
            std::string_view("bBrRsS").find(value.front()) != std::string_view::npos;
        const bool isBit = !isVector || (value.size() == 2 && std::tolower(value.front()) == 'b');
        const auto level = isBit ? LevelOf(value[isVector ? 1 : 0]) : std::nullopt;
        if (!isVector && !level) {
            Fail(Quoted(value) + " is neither a command nor a time nor a value.");
        }
        if (isVector && !Next()) {
            Fail("the file ends within the value " + Quoted(value) + '.');
        }
        const std::string_view code = isVector ? word : value.substr(1);
        const auto signals = signalsOfCode.find(code);
        if (signals == signalsOfCode.end()) {
            Fail("the header has no variable with the short name " + Quoted(code) + '.');
        }
        hasBegun = true;
        const auto event = eventOfCode.find(code);
        if (event != eventOfCode.end() && value.substr(isVector ? 1 : 0, 1) == "1") {
            recording.marks.push_back({recording.end, event->second});
        }
        for (const std::size_t signal : signals->second) {
            if (!level) {
                Fail(Quoted(value) + " is not a value of the single wire " +
                     recording.signals[signal].path + '.');
            }
            Set(recording.signals[signal].changes, *level);
        }
    }

    /// Of several values at the same time only the last is kept.
    void Set(std::vector<Change>& changes, Level level) const {
        if (!changes.empty() && changes.back().time == recording.end) {
            changes.pop_back();
        }
        if (level != (changes.empty() ? Level::unknown : changes.back().level)) {
            changes.push_back({recording.end, level});
        }
    }

    void DistinguishNamesakes() {
        std::unordered_map<std::string, int> bearers;
        for (const Signal& signal : recording.signals) {
            ++bearers[signal.name];
        }
        for (Signal& signal : recording.signals) {
            signal.name = bearers[signal.name] > 1 ? signal.path : signal.name;
        }
    }

    const std::string_view text;
    std::string_view word; ///< the word read last; empty at the end of the file
    Recording recording;
    std::optional<int> exponent; ///< a tick is 10^exponent ms
    std::vector<std::string> scopes;
    /// The signals for each short name: several if a wire is in several scopes, none if it is not
    /// drawn.
    std::unordered_map<std::string_view, std::vector<std::size_t>> signalsOfCode;
    std::unordered_map<std::string_view, std::string> eventOfCode;
    std::uint64_t ticks = 0;
    bool hasBegun = false; ///< a time or a value was read
};

} // namespace

Recording ReadVcd(std::string_view file) {
    return VcdReader(file).Read();
}

} // namespace rig::wave
