#include "vcd_reader.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <string_view>
#include <unordered_map>

#include "vcd_words.h"

namespace rig::wave {

namespace {

/// A whole word that is one number.
std::optional<std::uint64_t> Number(std::string_view text) {
    std::uint64_t value = 0;
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, value);
    return error == std::errc{} && rest == end ? std::optional(value) : std::nullopt;
}

std::optional<Level> LevelOf(char digit) {
    switch (digit) {
    case '0':
        return Level::low;
    case '1':
        return Level::high;
    case 'x':
    case 'X':
        return Level::unknown;
    case 'z':
    case 'Z':
        return Level::floating;
    default:
        return std::nullopt;
    }
}

/// "10us" as an exponent of 10 ms.
std::optional<Timescale> TimescaleOf(std::string_view text) {
    static const std::unordered_map<std::string_view, int> counts = {
        {"1", 0}, {"10", 1}, {"100", 2}};
    static const std::unordered_map<std::string_view, int> units = {
        {"s", 3}, {"ms", 0}, {"us", -3}, {"ns", -6}, {"ps", -9}, {"fs", -12}};
    const std::size_t digits = std::min(text.find_first_not_of("0123456789"), text.size());
    const auto count = counts.find(text.substr(0, digits));
    const auto unit = units.find(text.substr(digits));
    if (count == counts.end() || unit == units.end()) {
        return std::nullopt;
    }
    return Timescale{count->second + unit->second};
}

class VcdReader {
  public:
    explicit VcdReader(std::istream& stream) : words(stream) {}

    Recording Read() {
        ReadHeader();
        ReadBody();
        TellNamesakesApart();
        return std::move(recording);
    }

  private:
    [[noreturn]] void Fail(const std::string& sentence) const {
        throw VcdError(words.Line(), sentence);
    }

    void ReadHeader();
    void ReadTimescale();
    void ReadScope();
    void ReadVariable();
    std::vector<std::string> Arguments(const std::string& command);

    void ReadBody();
    void ReadTime(const std::string& word);
    void ReadBit(const std::string& word);
    void ReadVector(const std::string& word);
    void BeginDump();
    void EndDump();
    const std::vector<std::size_t>& SignalsOf(const std::string& code) const;
    void Set(const std::vector<std::size_t>& signals, Level level);

    void TellNamesakesApart();

    VcdWords words;
    Recording recording;
    bool hasTimescale = false;
    std::vector<std::string> scopes;
    /// Which signals a short name stands for: several when one wire is seen in several scopes, none
    /// when it is not drawn.
    std::unordered_map<std::string, std::vector<std::size_t>> signalsOfCode;
    bool hasBegun = false; ///< a time or a value was read
    bool isDump = false;   ///< between $dumpvars or one of its kind and $end
};

// ---- The header --------------------------------------------------------------------------------

void VcdReader::ReadHeader() {
    while (const auto word = words.Next()) {
        if (*word == "$timescale") {
            ReadTimescale();
        } else if (*word == "$scope") {
            ReadScope();
        } else if (*word == "$upscope") {
            Arguments(*word);
            if (scopes.empty()) {
                Fail("$upscope without a $scope before it.");
            }
            scopes.pop_back();
        } else if (*word == "$var") {
            ReadVariable();
        } else if (*word == "$enddefinitions") {
            Arguments(*word);
            if (!hasTimescale) {
                Fail("the header has no $timescale.");
            }
            return;
        } else if (word->front() == '$') {
            Arguments(*word); // $date, $version, $comment and what programs add of their own
        } else {
            Fail(Quoted(*word) + " is not a command of a VCD header.");
        }
    }
    Fail("the file ends before $enddefinitions.");
}

/// The words up to $end.
std::vector<std::string> VcdReader::Arguments(const std::string& command) {
    const std::size_t line = words.Line();
    std::vector<std::string> arguments;
    while (auto word = words.Next()) {
        if (*word == "$end") {
            return arguments;
        }
        arguments.push_back(std::move(*word));
    }
    throw VcdError(line, Quoted(command) + " is not closed by $end.");
}

void VcdReader::ReadTimescale() {
    std::string text;
    for (const std::string& word : Arguments("$timescale")) {
        text += word;
    }
    const auto timescale = TimescaleOf(text);
    if (!timescale) {
        Fail(Quoted(text) + " is not a timescale: 1, 10 or 100 of s, ms, us, ns, ps or fs.");
    }
    recording.timescale = *timescale;
    hasTimescale = true;
}

void VcdReader::ReadScope() {
    const std::vector<std::string> arguments = Arguments("$scope");
    if (arguments.size() != 2) {
        Fail("$scope takes a kind and a name.");
    }
    scopes.push_back(Printable(arguments[1]));
}

void VcdReader::ReadVariable() {
    const std::vector<std::string> arguments = Arguments("$var");
    if (arguments.size() < 4) {
        Fail("$var takes a kind, a width, a short name and a name.");
    }
    const auto width = Number(arguments[1]);
    if (!width) {
        Fail(Quoted(arguments[1]) + " is not the width of a variable.");
    }
    Signal signal;
    for (std::size_t i = 3; i < arguments.size(); ++i) {
        signal.name += Printable(arguments[i]); // "data [3]" is one name
    }
    for (const std::string& scope : scopes) {
        signal.path += scope + '.';
    }
    signal.path += signal.name;

    std::vector<std::size_t>& signals = signalsOfCode[arguments[2]];
    const std::string& kind = arguments[0];
    if (*width != 1) {
        recording.notes.push_back(signal.path + " is left out: it is " + std::to_string(*width) +
                                  " bits wide, and only single wires are drawn.");
    } else if (kind == "real" || kind == "event" || kind == "string") {
        recording.notes.push_back(signal.path + " is left out: it is of the kind " + kind +
                                  ", and only wires are drawn.");
    } else {
        signals.push_back(recording.signals.size());
        recording.signals.push_back(std::move(signal));
    }
}

// ---- The values --------------------------------------------------------------------------------

void VcdReader::ReadBody() {
    while (const auto word = words.Next()) {
        switch (word->front()) {
        case '#':
            ReadTime(*word);
            break;
        case 'b':
        case 'B':
        case 'r':
        case 'R':
        case 's':
        case 'S':
            ReadVector(*word);
            break;
        case '$':
            if (*word == "$end") {
                EndDump();
            } else if (word->starts_with("$dump")) {
                BeginDump();
            } else {
                Arguments(*word);
            }
            break;
        default:
            ReadBit(*word);
        }
    }
}

void VcdReader::ReadTime(const std::string& word) {
    const auto time = Number(std::string_view(word).substr(1));
    if (!time) {
        Fail(Quoted(word) + " is not a time.");
    }
    if (*time < recording.end) {
        Fail("the time goes back from " + std::to_string(recording.end) + " to " +
             std::to_string(*time) + '.');
    }
    if (!hasBegun) {
        recording.begin = *time;
        hasBegun = true;
    }
    recording.end = *time;
}

void VcdReader::ReadBit(const std::string& word) {
    const auto level = LevelOf(word.front());
    if (!level) {
        Fail(Quoted(word) + " is neither a command nor a time nor a value.");
    }
    Set(SignalsOf(word.substr(1)), *level);
}

/// "b1 !", also "r1.5 !" and "sIDLE !". Some programs write single wires so.
void VcdReader::ReadVector(const std::string& word) {
    const auto code = words.Next();
    if (!code) {
        Fail("the file ends within the value " + Quoted(word) + '.');
    }
    const std::vector<std::size_t>& signals = SignalsOf(*code);
    if (signals.empty()) {
        return;
    }
    const bool isBit = word.size() == 2 && (word.front() == 'b' || word.front() == 'B');
    const auto level = isBit ? LevelOf(word.back()) : std::nullopt;
    if (!level) {
        Fail(Quoted(word) + " is not a value of the single wire " +
             recording.signals[signals.front()].path + '.');
    }
    Set(signals, *level);
}

void VcdReader::BeginDump() {
    if (isDump) {
        Fail("a dump begins within a dump.");
    }
    isDump = true;
}

void VcdReader::EndDump() {
    if (!isDump) {
        Fail("$end without a command before it.");
    }
    isDump = false;
}

const std::vector<std::size_t>& VcdReader::SignalsOf(const std::string& code) const {
    const auto found = signalsOfCode.find(code);
    if (found == signalsOfCode.end()) {
        Fail("the header has no variable with the short name " + Quoted(code) + '.');
    }
    return found->second;
}

void VcdReader::Set(const std::vector<std::size_t>& signals, Level level) {
    hasBegun = true;
    for (const std::size_t signal : signals) {
        std::vector<Change>& changes = recording.signals[signal].changes;
        // Of several values in one tick only the last can be seen.
        if (!changes.empty() && changes.back().time == recording.end) {
            changes.pop_back();
        }
        const Level before = changes.empty() ? Level::unknown : changes.back().level;
        if (level != before) {
            changes.push_back({recording.end, level});
        }
    }
}

void VcdReader::TellNamesakesApart() {
    std::unordered_map<std::string, int> bearers;
    for (const Signal& signal : recording.signals) {
        ++bearers[signal.name];
    }
    for (Signal& signal : recording.signals) {
        if (bearers[signal.name] > 1) {
            signal.name = signal.path;
        }
    }
}

} // namespace

Level LevelAt(const Signal& signal, std::uint64_t time) {
    const auto after =
        std::partition_point(signal.changes.begin(), signal.changes.end(),
                             [=](const Change& change) { return change.time <= time; });
    return after == signal.changes.begin() ? Level::unknown : std::prev(after)->level;
}

Recording ReadVcd(std::istream& stream) {
    return VcdReader(stream).Read();
}

} // namespace rig::wave
