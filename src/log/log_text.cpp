#include "log_text.h"

#include <iterator>
#include <limits>
#include <new>
#include <utility>

namespace SLV::Internal {

LogText& LogText::PutNumber(std::uint64_t number, unsigned base, bool isNegative) {
    char digits[std::numeric_limits<std::uint64_t>::digits10 + 2];
    std::size_t count = 0;
    do {
        digits[count++] = "0123456789abcdef"[number % base];
        number /= base;
    } while (number != 0);
    if (isNegative) {
        digits[count++] = '-';
    }
    std::size_t fitting = count;
    if (isHeld || count > capacity - size) {
        fitting = std::min(count, MakeRoom(count));
    }
    if (fitting != 0) { // else not even the terminator may be written: the text may be held
        std::reverse_copy(digits + (count - fitting), digits + count, data + size);
        size += fitting;
        data[size] = '\0';
    }
    return *this;
}

LogText& LogText::operator<<(Hex number) {
    return PutNumber(number.value, kHexadecimal, false);
}

void LogText::Clear() {
    size = 0;
    if (holds == 0) {
        Release(data);
        data = usual;
        capacity = kUsualCapacity;
    }
}

LogText::Hold::Hold(LogText& toHold)
    : line(toHold), held(toHold.data), text(toHold.IsEmpty() ? "" : toHold.data),
      wasHeld(std::exchange(toHold.isHeld, true)) {
    ++line.holds;
}

LogText::Hold::~Hold() {
    --line.holds;
    if (line.data == held) {
        line.isHeld = wasHeld;
    } else if (!wasHeld) {
        line.Release(held); // it was left for a copy
    }
}

/// Makes room for so many more characters if possible; returns how many fit.
std::size_t LogText::MakeRoom(std::size_t more) {
    const std::size_t wanted = std::max(capacity * 2, size + more);
    char* const room = new (std::nothrow) char[wanted + 1];
    if (room == nullptr) {
        return isHeld ? 0 : capacity - size;
    }
    std::copy_n(data, size, room);
    if (!std::exchange(isHeld, false)) {
        Release(data);
    }
    data = room;
    capacity = wanted;
    return capacity - size;
}

void LogText::Release(const char* memory) const {
    if (memory != usual) {
        delete[] memory;
    }
}

LogText& operator<<(LogText& text, Address address) {
    const auto bits = static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(address.value));
    for (int shift = 60; shift >= 0; shift -= 4) {
        text << "0123456789ABCDEF"[bits >> shift & 0xF];
    }
    return text;
}

} // namespace SLV::Internal
