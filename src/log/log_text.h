/// Text of a log line while it is being built.
#pragma once

#include <algorithm>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <type_traits>

namespace SLV::Internal {

/// An unsigned number as lower-case hexadecimal digits without leading zeros.
struct Hex {
    template <typename Number>
    explicit Hex(Number number) : value(number) {
        static_assert(std::is_unsigned_v<Number>, "a status or a register, never a signed code");
    }

    std::uint64_t value;
};

/// Takes text and numbers without exceptions, without the locale and, up to the usual length of a
/// line, without the heap. It grows without limit; only text for which there is no memory is left
/// out: logging must never stop an operation on the camera's lines half-way.
class LogText {
  public:
    LogText() {} // NOLINT(*-member-init,*-use-equals-default): nobody reads what was not written
    LogText(const LogText& other) : LogText() { *this << other; }
    ~LogText() { Release(data); }
    LogText& operator=(const LogText&) = delete;

    LogText& operator<<(std::string_view text) {
        if (isHeld || text.size() > capacity - size) {
            text = text.substr(0, MakeRoom(text.size()));
        }
        if (!text.empty()) { // else not even the terminator may be written: the text may be held
            Put(text);
        }
        return *this;
    }
    LogText& operator<<(const LogText& text) { return *this << text.View(); }

    LogText& operator<<(char byte) { return *this << std::string_view(&byte, 1); }

    /// In decimal.
    template <std::signed_integral Number>
    LogText& operator<<(Number number) {
        const auto magnitude = static_cast<std::uint64_t>(number);
        return number < 0 ? PutNumber(0 - magnitude, kDecimal, true)
                          : PutNumber(magnitude, kDecimal, false);
    }
    template <std::unsigned_integral Number>
    LogText& operator<<(Number number) {
        return PutNumber(number, kDecimal, false);
    }
    LogText& operator<<(Hex number);
    LogText& operator<<(signed char) = delete;   ///< a number or a byte? Say which
    LogText& operator<<(unsigned char) = delete; ///< likewise

    std::string_view View() const { return {data, size}; }
    bool IsEmpty() const { return size == 0; }
    void Clear();

    /// Keeps the present characters as they are, where they are, while it lives, even if the text
    /// is written to, cleared or held again: such a write continues in a copy.
    class Hold {
      public:
        explicit Hold(LogText& toHold);
        ~Hold();
        Hold(const Hold&) = delete;
        Hold& operator=(const Hold&) = delete;

        const char* CString() const { return text; }

      private:
        LogText& line;
        char* held;
        const char* text;
        bool wasHeld;
    };

    char fill = ' '; ///< for numbers with a width, which nothing here has

  private:
    static constexpr unsigned kDecimal = 10;
    static constexpr unsigned kHexadecimal = 16;
    LogText& PutNumber(std::uint64_t number, unsigned base, bool isNegative);

    void Put(std::string_view text) {
        std::copy_n(text.data(), text.size(), data + size);
        size += text.size();
        data[size] = '\0';
    }
    std::size_t MakeRoom(std::size_t more);
    void Release(const char* memory) const;

    /// Enough for every line but rows of dots and the system's sentences.
    static constexpr std::size_t kUsualCapacity = 240;

    char* data = usual; ///< or on the heap, for a longer text
    std::size_t capacity = kUsualCapacity;
    std::size_t size = 0;
    bool isHeld = false; ///< `data` may not be written to
    unsigned holds = 0;  ///< of this text or of an earlier one that a write left behind
    char usual[kUsualCapacity + 1];
};

/// An address as 16 upper-case hexadecimal digits, the same with every standard library.
struct Address {
    const void* value;

    friend LogText& operator<<(LogText& text, Address address);
};

} // namespace SLV::Internal
