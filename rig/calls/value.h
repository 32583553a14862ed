/// What goes into a vendor call and what comes out of it, in values that can be kept, compared and
/// sent; and how a journal shows them.
#pragma once

#include <cstdint>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

namespace rig {

using Texts = std::vector<std::string>;

/// Nothing (a null pointer, or an output that was not written); a number, of which negative ones
/// are in two's complement; bytes, or a text in UTF-8; several texts.
using Value = std::variant<std::monostate, std::uint64_t, std::string, Texts>;

inline bool IsThere(const Value& value) {
    return value.index() != 0;
}

/// 0 for a value that is none.
inline std::uint64_t Number(const Value& value) {
    const auto* const number = std::get_if<std::uint64_t>(&value);
    return number != nullptr ? *number : 0;
}

/// What a host passes, a number or a pointer.
template <class T>
std::uint64_t AsNumber(T host) {
    if constexpr (std::is_pointer_v<T>) {
        return reinterpret_cast<std::uintptr_t>(host);
    } else {
        return static_cast<std::uint64_t>(host);
    }
}

/// "null" and "" of "null", "string" and "LPT 1" of "string LPT 1".
std::pair<std::string, std::string> WordAndRest(const std::string& text);

/// How a journal shows a value.
enum class Show : std::uint8_t {
    No,
    Decimal,
    Hexadecimal, ///< "0x2e"
    Word,        ///< "0x0100"
    Status,      ///< "0x80041017"
    Handle,      ///< by the name of what it stands for
    Bytes,       ///< "[82 f1 4f]", of many the first 16; texts in their place as "[SLV1A, SLV1B]"
    Text,        ///< with "?" for what is not printable ASCII; a number in its place in decimal
    Presence,    ///< "?" or "null"
    Property     ///< "string LPT1": its text, or what stands in the place of one
};

std::string Shown(Show show, const Value& value);

} // namespace rig
