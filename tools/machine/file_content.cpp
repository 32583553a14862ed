#include "file_content.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <system_error>

namespace host {

namespace {

using Word = std::uint32_t;
using State = std::array<Word, 8>;

constexpr std::size_t kBlock = 64;

constexpr std::array<Word, kBlock> kRounds = {
    0x428a2f98, 0x71374491, 0xb5c0fbcf, 0xe9b5dba5, 0x3956c25b, 0x59f111f1, 0x923f82a4, 0xab1c5ed5,
    0xd807aa98, 0x12835b01, 0x243185be, 0x550c7dc3, 0x72be5d74, 0x80deb1fe, 0x9bdc06a7, 0xc19bf174,
    0xe49b69c1, 0xefbe4786, 0x0fc19dc6, 0x240ca1cc, 0x2de92c6f, 0x4a7484aa, 0x5cb0a9dc, 0x76f988da,
    0x983e5152, 0xa831c66d, 0xb00327c8, 0xbf597fc7, 0xc6e00bf3, 0xd5a79147, 0x06ca6351, 0x14292967,
    0x27b70a85, 0x2e1b2138, 0x4d2c6dfc, 0x53380d13, 0x650a7354, 0x766a0abb, 0x81c2c92e, 0x92722c85,
    0xa2bfe8a1, 0xa81a664b, 0xc24b8b70, 0xc76c51a3, 0xd192e819, 0xd6990624, 0xf40e3585, 0x106aa070,
    0x19a4c116, 0x1e376c08, 0x2748774c, 0x34b0bcb5, 0x391c0cb3, 0x4ed8aa4a, 0x5b9cca4f, 0x682e6ff3,
    0x748f82ee, 0x78a5636f, 0x84c87814, 0x8cc70208, 0x90befffa, 0xa4506ceb, 0xbef9a3f7, 0xc67178f2};

Word BigEndian(const char* bytes) {
    Word word = 0;
    for (int i = 0; i < 4; ++i) {
        word = word << 8 | static_cast<std::uint8_t>(bytes[i]);
    }
    return word;
}

void Add(State& state, const char* block) {
    std::array<Word, kBlock> schedule{};
    for (std::size_t i = 0; i < kBlock; ++i) {
        if (i < 16) {
            schedule[i] = BigEndian(block + 4 * i);
            continue;
        }
        const Word early = schedule[i - 15];
        const Word late = schedule[i - 2];
        schedule[i] = schedule[i - 16] + schedule[i - 7] +
                      (std::rotr(early, 7) ^ std::rotr(early, 18) ^ early >> 3) +
                      (std::rotr(late, 17) ^ std::rotr(late, 19) ^ late >> 10);
    }
    auto [a, b, c, d, e, f, g, h] = state;
    for (std::size_t i = 0; i < kBlock; ++i) {
        const Word one = h + (std::rotr(e, 6) ^ std::rotr(e, 11) ^ std::rotr(e, 25)) +
                         ((e & f) ^ (~e & g)) + kRounds[i] + schedule[i];
        const Word two =
            (std::rotr(a, 2) ^ std::rotr(a, 13) ^ std::rotr(a, 22)) + ((a & b) ^ (a & c) ^ (b & c));
        h = g;
        g = f;
        f = e;
        e = d + one;
        d = c;
        c = b;
        b = a;
        a = one + two;
    }
    const State added = {a, b, c, d, e, f, g, h};
    for (std::size_t i = 0; i < state.size(); ++i) {
        state[i] += added[i];
    }
}

} // namespace

std::optional<std::string> ContentOf(const std::filesystem::path& path) {
    std::error_code ignored;
    std::ifstream stream;
    if (std::filesystem::is_regular_file(path, ignored)) { // a directory opens, but does not read
        stream.open(path, std::ios::binary);
    }
    if (!stream.is_open()) {
        return std::nullopt;
    }
    std::string bytes(std::filesystem::file_size(path, ignored), '\0');
    stream.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    return stream ? std::optional(std::move(bytes)) : std::nullopt;
}

std::string Sha256(std::string_view bytes) {
    State state = {0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a,
                   0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19};
    const std::size_t whole = bytes.size() / kBlock * kBlock;
    for (std::size_t i = 0; i < whole; i += kBlock) {
        Add(state, bytes.data() + i);
    }
    // The padding: the remaining bytes, a 1 bit, zeros, and the length in bits at the end of a
    // block.
    std::string last = std::string(bytes.substr(whole)) + '\x80';
    last.resize(last.size() <= kBlock - 8 ? kBlock - 8 : 2 * kBlock - 8);
    const std::uint64_t bits = 8 * static_cast<std::uint64_t>(bytes.size());
    for (int shift = 56; shift >= 0; shift -= 8) {
        last += static_cast<char>(bits >> shift);
    }
    for (std::size_t i = 0; i < last.size(); i += kBlock) {
        Add(state, last.data() + i);
    }

    std::string digits;
    for (const Word word : state) {
        for (int shift = 28; shift >= 0; shift -= 4) {
            digits += "0123456789abcdef"[word >> shift & 0xf];
        }
    }
    return digits;
}

} // namespace host
