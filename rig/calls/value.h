/// Inputs and outputs of vendor calls as values that can be stored, compared and sent, and how the
/// journal shows them.
#pragma once

#include <cstdint>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

namespace rig {

using Texts = std::vector<std::string>;

/// In order: nothing (a null pointer, or an output that was not written); a number, negative ones
/// in two's complement; bytes or a UTF-8 text; several texts.
using Value = std::variant<std::monostate, std::uint64_t, std::string, Texts>;

inline bool IsThere(const Value& value) {
    return value.index() != 0;
}

/// 0 if the value is not a number.
inline std::uint64_t Number(const Value& value) {
    const auto* const number = std::get_if<std::uint64_t>(&value);
    return number != nullptr ? *number : 0;
}

/// An argument, number or pointer, as the host passed it.
template <class T>
std::uint64_t AsNumber(T host) {
    if constexpr (std::is_pointer_v<T>) {
        return reinterpret_cast<std::uintptr_t>(host);
    } else {
        return static_cast<std::uint64_t>(host);
    }
}

/// Splits at the first blank: "string LPT 1" into "string" and "LPT 1", "null" into "null" and "".
std::pair<std::string, std::string> WordAndRest(const std::string& text);

/// How a journal shows a value.
enum class Show : std::uint8_t {
    No,
    Decimal,
    Hexadecimal, ///< "0x2e"
    Word,        ///< "0x0100"
    Status,      ///< "0x80041017"
    Handle,      ///< the name of the device it is open for
    Bytes,       ///< "[82 f1 4f]", at most 16 of them; a list of texts as "[SLV1A, SLV1B]"
    Text,        ///< with "?" for what is not printable ASCII; a number in decimal
    Presence,    ///< "?" if the pointer is not null, else "null"
    Property     ///< of "string LPT1" the text; "null" or "no value" without one
};

std::string Shown(Show show, const Value& value);

} // namespace rig
