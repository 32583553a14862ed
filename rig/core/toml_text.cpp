#include "toml_text.h"

#include <algorithm>
#include <string>
#include <vector>

#include "scenario.h"

namespace rig {

namespace {

constexpr std::ptrdiff_t kMaxDotsInLine = 64;
constexpr std::size_t kMostQuotes = 5; ///< that end a string: two belong to its text
constexpr std::string_view kByteOrderMark = "\xef\xbb\xbf";

[[noreturn]] void FailAtLine(std::size_t line, std::string_view message) {
    throw ScenarioError(("line " + std::to_string(line) + ": ").append(message));
}

/// Replaces characters beyond ASCII in comments. toml++ has undefined behaviour where it checks
/// whether such a character is white space.
std::string ToAscii(std::string_view text) {
    std::string ascii(text);
    std::size_t line = 1;
    std::string_view inside; // the quotes round a string, the '#' of a comment, empty in neither
    bool isEscaped = false;
    std::ptrdiff_t dots = 0; // each makes a table in a table, and the stack is not endless
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        dots = c == '\n' ? 0 : dots + (c == '.' ? 1 : 0);
        line += c == '\n' ? 1 : 0;
        if (dots > kMaxDotsInLine) {
            FailAtLine(line, "too many dots");
        }
        if (static_cast<unsigned char>(c) >= 0x80) {
            if (inside != "#") {
                FailAtLine(line, "only comments can have characters beyond ASCII");
            }
            ascii[i] = '?';
        }
        const std::string_view next = text.substr(i, kMostQuotes);
        const std::size_t quotes =
            c == '"' || c == '\'' ? std::min(next.find_first_not_of(c), next.size()) : 0;
        if (inside.empty() && (quotes > 0 || c == '#')) {
            // Two quotes are an empty string, three begin one that may have quotes and lines in it.
            inside = quotes == 2 ? "" : next.substr(0, quotes > 2 ? 3 : 1);
            i += quotes == 2 ? 1 : inside.size() - 1;
        } else if (inside == "#" ? c == '\n'
                                 : quotes > 0 && !isEscaped && next.starts_with(inside)) {
            i += inside.size() == 3 ? quotes - 1 : 0;
            inside = {};
        }
        isEscaped = inside.starts_with('"') && c == '\\' && !isEscaped;
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
