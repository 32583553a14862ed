#include "wql.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace rig::wbem {

namespace {

constexpr std::string_view kSpaces = " \t\r\n";
constexpr std::string_view kWordEnds = " \t\r\n*.={}'\"";

char Lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

/// Stands for any quoted text in a pattern.
constexpr std::string_view kQuoted = "''";

struct Token {
    std::string text;
    bool isQuoted;
};

/// Takes a text in single or double quotes from the front of the rest; a backslash escapes the next
/// character. Returns nullopt when the closing quote is missing.
std::optional<Token> TakeQuoted(std::string_view& rest) {
    const char quote = rest.front();
    Token token{{}, true};
    for (std::size_t i = 1; i < rest.size(); ++i) {
        if (rest[i] == quote) {
            rest.remove_prefix(i + 1);
            return token;
        }
        if (rest[i] == '\\' && i + 1 < rest.size()) {
            ++i;
        }
        token.text += rest[i];
    }
    return std::nullopt;
}

Token TakeWord(std::string_view& rest) {
    const std::size_t end = std::min(rest.find_first_of(kWordEnds), rest.size());
    const std::size_t length = std::max<std::size_t>(end, 1); // 1: a symbol
    Token token{std::string(rest.substr(0, length)), false};
    rest.remove_prefix(length);
    return token;
}

/// The words of a query; empty when it is malformed.
std::vector<Token> Split(std::string_view rest) {
    std::vector<Token> tokens;
    while (true) {
        rest.remove_prefix(std::min(rest.find_first_not_of(kSpaces), rest.size()));
        if (rest.empty()) {
            return tokens;
        }
        const bool isQuote = rest.front() == '\'' || rest.front() == '"';
        const std::optional<Token> token = isQuote ? TakeQuoted(rest) : TakeWord(rest);
        if (!token) {
            return {};
        }
        tokens.push_back(*token);
    }
}

bool Fits(const std::vector<Token>& tokens, const std::vector<std::string_view>& pattern) {
    const auto fits = [](const Token& token, std::string_view wanted) {
        return token.isQuoted ? wanted == kQuoted : EqualsIgnoringCase(token.text, wanted);
    };
    return std::equal(tokens.begin(), tokens.end(), pattern.begin(), pattern.end(), fits);
}

} // namespace

bool EqualsIgnoringCase(std::string_view text, std::string_view ascii) {
    return std::equal(text.begin(), text.end(), ascii.begin(), ascii.end(),
                      [](char left, char right) { return Lower(left) == Lower(right); });
}

std::optional<Query> ParseQuery(std::string_view text) {
    const std::vector<Token> tokens = Split(text);
    if (Fits(tokens, {"select", "*", "from", "win32_parallelport"})) {
        return Query{Query::About::Ports, {}};
    }
    if (Fits(tokens, {"associators", "of", "{", "win32_parallelport", ".", "deviceid", "=", kQuoted,
                      "}", "where", "resultclass", "=", "win32_portresource"})) {
        constexpr std::size_t kPlaceOfDeviceId = 7;
        return Query{Query::About::ResourcesOfPort, tokens[kPlaceOfDeviceId].text};
    }
    return std::nullopt;
}

} // namespace rig::wbem
