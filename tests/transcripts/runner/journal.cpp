#include "journal.h"

#include <cstdio>
#include <regex>

#include <solvane/rig.h>

#include "library.h"

namespace transcript {

namespace {

/// Marks log lines among the notes in the rig's journal. The other notes are system calls.
constexpr char kLog = '\x01';

// Static, because they are still needed at the end of the process.
const std::regex kStamp(R"(\[\d\d:\d\d:\d\d\.\d\d\d\] )");
const std::regex kCall(R"([A-Za-z_0-9:]+\(.*\)( -> .+)?)");
const std::regex kNative(R"(native [A-Za-z]+\(.*\)( -> .+)?)");
const std::regex kLogLine(R"(log "([^"\\]|\\.)*")");
const std::regex kEdge(R"(edge [a-z_]+ [01])");
const std::regex kTimes(R"((\d{1,5}) times(, in real time (\d{1,5}) to (\d{1,5}))?)");

/// A text in quotes, with all invisible characters escaped.
std::string Quoted(const std::string& text) {
    std::string quoted = "\"";
    for (const char character : text) {
        const auto code = static_cast<unsigned char>(character);
        if (character == '\n') {
            quoted += "\\n";
        } else if (code < 0x20 || code >= 0x7F) {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\x%02x", static_cast<unsigned>(code));
            quoted += escaped;
        } else {
            quoted += character == '"' || character == '\\' ? "\\" : "";
            quoted += character;
        }
    }
    return quoted + '"';
}

/// A log line without its time stamp, which every line except an empty one must have.
std::string LogEntry(const std::string& line) {
    std::smatch match;
    if (std::regex_search(line, match, kStamp, std::regex_constants::match_continuous)) {
        return "log " + Quoted(match.suffix());
    }
    return (line.empty() ? "log " : "log without a time stamp ") + Quoted(line);
}

bool IsEntry(const std::string& text, bool withEdges) {
    return std::regex_match(text, kCall) || std::regex_match(text, kNative) ||
           std::regex_match(text, kLogLine) || (withEdges && std::regex_match(text, kEdge));
}

/// Expands the expected lines, and matches them with what happened to resolve open numbers.
class Expectation {
  public:
    Expectation(const std::vector<std::string>& journal, bool edges)
        : happened(journal), withEdges(edges) {}

    void Add(const std::vector<Line>& lines) {
        for (const Line& line : lines) {
            Times times;
            if (ReadTimes(line, times)) {
                Repeat(line, times);
                continue;
            }
            if (!line.below.empty()) {
                throw Mistake(line.below.front().place, "indented below what has nothing below it");
            }
            if (!IsEntry(line.text, withEdges)) {
                throw Mistake(line.place, line.text.starts_with("edge ")
                                              ? "edges are shown after \"show edges\""
                                              : "nothing that can happen: " + line.text);
            }
            if (kIsNative || !line.text.starts_with("native ")) {
                expected.push_back({line.use.Text(), "    " + line.text});
            }
        }
    }

    std::vector<ExpectedLine> expected;

  private:
    void Repeat(const Line& line, const Times& times) {
        for (int i = 0; i < times.most; ++i) {
            const std::size_t before = expected.size();
            Add(line.below);
            if (i >= times.least && !HasHappened(before)) {
                expected.resize(before);
                return;
            }
        }
    }

    bool HasHappened(std::size_t from) const {
        for (std::size_t i = from; i < expected.size(); ++i) {
            if (i >= happened.size() || expected[i].text != happened[i]) {
                return false;
            }
        }
        return true;
    }

    const std::vector<std::string>& happened;
    const bool withEdges;
};

} // namespace

void SOLVANE_CALL LogToJournal(void* /*context*/, const char* line) {
    rig_note((std::string(1, kLog) + line).c_str());
}

std::vector<std::string> TakeJournal(bool withEdges) {
    std::vector<std::string> happened;
    rig_entry entry{};
    for (std::size_t i = 0; rig_journal_entry(i, &entry) == 0; ++i) {
        const std::string text = entry.text;
        if (entry.kind == RIG_CALL) {
            happened.push_back("    " + text);
        } else if (entry.kind == RIG_EDGE && withEdges) {
            happened.push_back("    edge " + text);
        } else if (entry.kind == RIG_NOTE && text.starts_with(kLog)) {
            happened.push_back("    " + LogEntry(text.substr(1)));
        } else if (entry.kind == RIG_NOTE) {
            happened.push_back("    native " + text);
        }
    }
    rig_journal_clear();
    return happened;
}

bool ReadTimes(const Line& line, Times& times) {
    std::smatch match;
    if (!std::regex_match(line.text, match, kTimes)) {
        return false;
    }
    times.least = times.most = std::stoi(match[1]);
    if (line.below.empty() || times.most == 0) {
        throw Mistake(line.place, "nothing is repeated");
    }
    if (match[2].matched && !kIsNative) {
        times = {std::stoi(match[3]), std::stoi(match[4])};
    }
    return true;
}

std::vector<ExpectedLine> Expected(const std::vector<Line>& lines,
                                   const std::vector<std::string>& happened, bool withEdges) {
    Expectation expectation(happened, withEdges);
    expectation.Add(lines);
    return std::move(expectation.expected);
}

} // namespace transcript
