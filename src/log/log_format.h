/// How numbers that are not plain decimals look in a log line.
#pragma once

#include <cstdint>
#include <ios>
#include <ostream>
#include <type_traits>

namespace SLV::Internal {

/// An unsigned number as lower-case hexadecimal digits without leading zeros. The stream is back at
/// decimal right after the number, so no later number of the line can be caught by it.
struct Hex {
    template <typename Number>
    explicit Hex(Number number) : value(number) {
        static_assert(std::is_unsigned_v<Number>, "a status or a register, never a signed code");
    }

    std::uint64_t value;

    friend std::ostream& operator<<(std::ostream& stream, Hex hex) {
        return stream << std::hex << hex.value << std::dec;
    }
};

/// An address as 16 upper-case hexadecimal digits, the same with every standard library.
struct Address {
    const void* value;

    friend std::ostream& operator<<(std::ostream& stream, Address address) {
        const auto bits = reinterpret_cast<std::uintptr_t>(address.value);
        for (int shift = 60; shift >= 0; shift -= 4) {
            stream.put("0123456789ABCDEF"[(static_cast<std::uint64_t>(bits) >> shift) & 0xF]);
        }
        return stream;
    }
};

} // namespace SLV::Internal
