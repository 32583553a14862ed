#include "recording_values.h"

#include <algorithm>
#include <charconv>
#include <stdexcept>

namespace rig::record {

namespace {

/// Whether it can stand between double quotes as it is.
bool IsPlain(const std::string& bytes) {
    return std::all_of(bytes.begin(), bytes.end(),
                       [](char c) { return c >= ' ' && c <= '~' && c != '"'; });
}

void AppendBytes(std::string& text, const std::string& bytes) {
    constexpr const char* kDigits = "0123456789abcdef";
    if (IsPlain(bytes)) {
        text.append(1, '"').append(bytes).append(1, '"');
        return;
    }
    text += '#';
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        text += kDigits[byte >> 4];
        text += kDigits[byte & 0x0F];
    }
}

[[noreturn]] void RefuseValue(std::string_view word) {
    throw std::runtime_error("'" + std::string(word) + "' is no value");
}

unsigned DigitFrom(char c, std::string_view word) {
    if (c >= '0' && c <= '9') {
        return static_cast<unsigned>(c - '0');
    }
    if (c >= 'a' && c <= 'f') {
        return static_cast<unsigned>(c - 'a') + 10;
    }
    RefuseValue(word);
}

std::string BytesFrom(std::string_view word) {
    const std::string_view digits = word.substr(1);
    if (digits.size() % 2 != 0) {
        RefuseValue(word);
    }
    std::string bytes;
    for (std::size_t i = 0; i < digits.size(); i += 2) {
        bytes +=
            static_cast<char>(DigitFrom(digits[i], word) << 4 | DigitFrom(digits[i + 1], word));
    }
    return bytes;
}

std::string StringFrom(std::string_view word) {
    return word.front() == '#' ? BytesFrom(word) : std::string(word.substr(1, word.size() - 2));
}

bool IsString(std::string_view word) {
    return word.front() == '#' || word.front() == '"';
}

} // namespace

void AppendNumber(std::string& text, std::uint64_t number) {
    char digits[20];
    text.append(digits, std::to_chars(digits, digits + sizeof digits, number).ptr);
}

void AppendValue(std::string& text, const Value& value) {
    if (const auto* const number = std::get_if<std::uint64_t>(&value)) {
        AppendNumber(text, *number);
    } else if (const auto* const bytes = std::get_if<std::string>(&value)) {
        AppendBytes(text, *bytes);
    } else if (const auto* const texts = std::get_if<Texts>(&value)) {
        text += "[ ";
        for (const std::string& one : *texts) {
            AppendBytes(text, one);
            text += ' ';
        }
        text += ']';
    } else {
        text += '-';
    }
}

void AppendValues(std::string& text, const std::vector<Value>& values) {
    for (const Value& value : values) {
        text += ' ';
        AppendValue(text, value);
    }
}

std::uint64_t NumberFrom(std::string_view word, std::uint64_t most) {
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
    if (error != std::errc() || end != word.data() + word.size() || number > most) {
        throw std::runtime_error("'" + std::string(word) + "' is no number, or too large");
    }
    return number;
}

Value ValueReader::Next() {
    const std::string_view word = Word();
    if (word == "-") {
        return {};
    }
    if (word == "[") {
        return List();
    }
    return IsString(word) ? Value(StringFrom(word)) : Value(NumberFrom(word));
}

std::uint32_t ValueReader::NextStatus() {
    return static_cast<std::uint32_t>(NumberFrom(Word(), 0xFFFF'FFFF));
}

std::string_view ValueReader::Word() {
    if (rest.empty()) {
        throw std::runtime_error("a value is missing");
    }
    std::size_t end = rest.find(' ');
    if (rest.front() == '"') {
        const std::size_t quote = rest.find('"', 1);
        end = quote == rest.npos ? rest.npos : quote + 1;
        if (end == rest.npos || (end < rest.size() && rest[end] != ' ')) {
            RefuseValue(rest);
        }
    }
    const std::string_view word = rest.substr(0, end);
    if (word.empty()) {
        throw std::runtime_error("a value is missing");
    }
    const bool isLast = word.size() == rest.size();
    rest.remove_prefix(isLast ? rest.size() : word.size() + 1);
    if (!isLast && rest.empty()) {
        throw std::runtime_error("a value is missing");
    }
    return word;
}

Texts ValueReader::List() {
    Texts texts;
    for (std::string_view word = Word(); word != "]"; word = Word()) {
        if (!IsString(word)) {
            RefuseValue(word);
        }
        texts.push_back(StringFrom(word));
    }
    return texts;
}

} // namespace rig::record
