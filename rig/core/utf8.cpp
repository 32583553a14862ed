#include "utf8.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace rig {

namespace {

std::uint8_t Byte(std::string_view text, std::size_t index) {
    return index < text.size() ? static_cast<std::uint8_t>(text[index]) : std::uint8_t{0};
}

/// The length of the first character in bytes; 0 if it is not valid UTF-8.
std::size_t LengthOfFirst(std::string_view text) {
    struct Form {
        std::uint8_t first, last;     ///< of its first byte
        std::uint8_t lowest, highest; ///< of its second; excludes overlong forms and surrogates
        std::size_t length;
    };
    static constexpr Form kForms[] = {
        {0x00, 0x7F, 0x00, 0xFF, 1}, {0xC2, 0xDF, 0x80, 0xBF, 2}, {0xE0, 0xE0, 0xA0, 0xBF, 3},
        {0xE1, 0xEC, 0x80, 0xBF, 3}, {0xED, 0xED, 0x80, 0x9F, 3}, {0xEE, 0xEF, 0x80, 0xBF, 3},
        {0xF0, 0xF0, 0x90, 0xBF, 4}, {0xF1, 0xF3, 0x80, 0xBF, 4}, {0xF4, 0xF4, 0x80, 0x8F, 4},
    };
    const std::uint8_t first = Byte(text, 0);
    const std::uint8_t second = Byte(text, 1);
    for (const Form& form : kForms) {
        if (first < form.first || first > form.last) {
            continue;
        }
        const bool isWhole =
            (form.length < 2 || (second >= form.lowest && second <= form.highest)) &&
            (form.length < 3 || (Byte(text, 2) & 0xC0) == 0x80) &&
            (form.length < 4 || (Byte(text, 3) & 0xC0) == 0x80);
        return isWhole ? form.length : 0;
    }
    return 0;
}

} // namespace

std::string ValidUtf8(std::string_view text) {
    std::string valid;
    while (!text.empty()) {
        const std::size_t length = LengthOfFirst(text);
        valid += length != 0 ? text.substr(0, length) : "?";
        text.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return valid;
}

std::string PlainLine(std::string_view text) {
    std::string line = ValidUtf8(text);
    std::ranges::replace_if(
        line, [](char c) { return static_cast<unsigned char>(c) < ' ' || c == '\x7F'; }, ' ');
    return line;
}

} // namespace rig
