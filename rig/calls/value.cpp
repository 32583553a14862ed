#include "value.h"

#include <cstdio>

namespace rig {

namespace {

std::string Formatted(const char* format, std::uint64_t number) {
    char text[24];
    std::snprintf(text, sizeof text, format, static_cast<unsigned>(number));
    return text;
}

std::string List(const std::string& bytes) {
    constexpr std::size_t kShown = 16;
    std::string text;
    for (const char byte : bytes.substr(0, kShown)) {
        text += Formatted(text.empty() ? "%02x" : " %02x", static_cast<unsigned char>(byte));
    }
    return '[' + text + (bytes.size() > kShown ? " ...]" : "]");
}

std::string Printable(const std::string& utf8) {
    std::string text;
    for (const char c : utf8) {
        if ((static_cast<unsigned char>(c) & 0xC0) != 0x80) { // skip UTF-8 continuation bytes
            text += c >= ' ' && c <= '~' ? c : '?';
        }
    }
    return text;
}

std::string Joined(const Texts& texts) {
    std::string joined;
    for (const std::string& text : texts) {
        joined += (joined.empty() ? "" : ", ") + Printable(text);
    }
    return '[' + joined + ']';
}

} // namespace

std::pair<std::string, std::string> WordAndRest(const std::string& text) {
    const std::size_t end = text.find(' ');
    return {text.substr(0, end), end < text.size() ? text.substr(end + 1) : ""};
}

std::string Shown(Show show, const Value& value) {
    const bool isNumber = std::holds_alternative<std::uint64_t>(value);
    if (isNumber && (show == Show::Bytes || show == Show::Text)) {
        return Shown(Show::Decimal, value);
    }
    switch (show) {
    case Show::Decimal:
        return std::to_string(static_cast<std::int64_t>(Number(value)));
    case Show::Hexadecimal:
        return Formatted("0x%x", Number(value));
    case Show::Word:
        return Formatted("0x%04x", Number(value));
    case Show::Status:
        return Formatted("0x%08x", Number(value));
    case Show::Bytes:
        if (const auto* const texts = std::get_if<Texts>(&value)) {
            return Joined(*texts);
        }
        return List(IsThere(value) ? std::get<std::string>(value) : "");
    case Show::Text:
        return IsThere(value) ? Printable(std::get<std::string>(value)) : "null";
    case Show::Property: {
        const auto& [type, text] = WordAndRest(std::get<std::string>(value));
        return type == "null" ? "no value" : type == "null-string" ? "null" : text;
    }
    default:
        return IsThere(value) ? "?" : "null";
    }
}

} // namespace rig
