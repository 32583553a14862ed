#include "vcd_words.h"

#include <algorithm>

#include "vcd_reader.h"

namespace rig::wave {

namespace {

/// Far more than any value has bits: the file is not a VCD at all.
constexpr std::size_t kLongestWord = 1U << 20U;
constexpr std::size_t kLongestQuotation = 40;

bool IsBlank(int character) {
    return character == ' ' || (character >= '\t' && character <= '\r');
}

} // namespace

std::optional<std::string> VcdWords::Next() {
    constexpr int kEnd = std::istream::traits_type::eof();
    std::streambuf& characters = *stream.rdbuf();
    int character = characters.sgetc();
    for (; IsBlank(character); character = characters.snextc()) {
        line += character == '\n' ? 1 : 0;
    }
    wordLine = line;
    if (character == kEnd) {
        return std::nullopt;
    }
    std::string word;
    for (; character != kEnd && !IsBlank(character); character = characters.snextc()) {
        if (word.size() == kLongestWord) {
            throw VcdError(line, "a word of more than a million characters.");
        }
        word.push_back(static_cast<char>(character));
    }
    return word;
}

std::string Quoted(const std::string& word) {
    const bool isLong = word.size() > kLongestQuotation;
    return '"' + Printable(word.substr(0, kLongestQuotation)) + (isLong ? "...\"" : "\"");
}

std::string Printable(std::string word) {
    std::replace_if(
        word.begin(), word.end(), [](char c) { return c < '!' || c > '~'; }, '?');
    return word;
}

} // namespace rig::wave
