/// The bytes of one fuzzer input, taken from the front one after another.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>

namespace fuzz {

/// After its end the input delivers zeros, which every stand-in takes as "works normally".
class Input {
  public:
    Input(const std::uint8_t* bytes, std::size_t count) : next(bytes), left(count) {}

    bool IsEmpty() const { return left == 0; }

    std::uint8_t Byte() {
        if (left == 0) {
            return 0;
        }
        --left;
        return *next++;
    }

    std::uint16_t Word() {
        const unsigned low = Byte();
        return static_cast<std::uint16_t>(low | static_cast<unsigned>(Byte()) << 8);
    }

    std::uint32_t DoubleWord() {
        const std::uint32_t low = Word();
        return low | static_cast<std::uint32_t>(Word()) << 16;
    }

    /// The next bytes; fewer at the end of the input.
    std::string Bytes(std::size_t count) {
        const std::size_t taken = std::min(count, left);
        std::string bytes(next, next + taken);
        next += taken;
        left -= taken;
        return bytes;
    }

  private:
    const std::uint8_t* next;
    std::size_t left;
};

} // namespace fuzz
