#include "toml_text.h"

#include <algorithm>
#include <string>
#include <vector>

#include "scenario.h"

namespace rig {

namespace {

constexpr std::ptrdiff_t kMaxDotsInLine = 64;
constexpr std::string_view kByteOrderMark = "\xef\xbb\xbf";

[[noreturn]] void FailAtLine(std::size_t line, std::string_view message) {
    throw ScenarioError(("line " + std::to_string(line) + ": ").append(message));
}

/// Replaces characters beyond ASCII in comments. toml++ has undefined behaviour where it checks
/// whether such a character is white space.
std::string ToAscii(std::string_view text) {
    std::string ascii(text);
    std::size_t line = 1;
    char inside = '\n'; // the quote of a string, '#' in a comment, '\n' in neither
    bool isEscaped = false;
    std::ptrdiff_t dots = 0; // each makes a table in a table, and the stack is not endless
    for (char& c : ascii) {
        dots = c == '\n' ? 0 : dots + (c == '.' ? 1 : 0);
        if (dots > kMaxDotsInLine) {
            FailAtLine(line, "too many dots");
        }
        const bool isBeyondAscii = static_cast<unsigned char>(c) >= 0x80;
        if (isBeyondAscii && inside != '#') {
            FailAtLine(line, "only comments can have characters beyond ASCII");
        }
        if (isBeyondAscii) {
            c = '?';
        } else if (c == '\n') {
            ++line;
            inside = inside == '#' ? '\n' : inside;
        } else if (inside == '\n') {
            inside = c == '"' || c == '\'' || c == '#' ? c : inside;
        } else if (inside == c && inside != '#' && !isEscaped) {
            inside = '\n';
        }
        isEscaped = inside == '"' && c == '\\' && !isEscaped;
    }
    return ascii;
}

bool FailsAssertion(std::string_view text) {
    try {
        static_cast<void>(toml::parse(text));
    } catch (const toml::parse_error&) {
        return false;
    } catch (const ImpossibleToml&) {
        return true;
    }
    return false;
}

/// A failed assertion of toml++ has no line number. Finds the shortest beginning of the text that
/// fails; its last line is at fault.
std::size_t LineOfFailedAssertion(std::string_view text) {
    std::vector<std::size_t> ends;
    for (std::size_t end = text.find('\n'); end != text.npos; end = text.find('\n', end + 1)) {
        ends.push_back(end);
    }
    const auto found = std::partition_point(ends.begin(), ends.end(), [&](std::size_t end) {
        return !FailsAssertion(text.substr(0, end));
    });
    return static_cast<std::size_t>(found - ends.begin()) + 1;
}

} // namespace

toml::table ParseToml(std::string_view text) {
    if (text.starts_with(kByteOrderMark)) {
        text.remove_prefix(kByteOrderMark.size());
    }
    const std::string ascii = ToAscii(text);
    try {
        return toml::parse(std::string_view(ascii));
    } catch (const toml::parse_error& error) {
        FailAtLine(error.source().begin.line, error.description());
    } catch (const ImpossibleToml&) {
        FailAtLine(LineOfFailedAssertion(ascii), "not TOML");
    }
}

} // namespace rig
