/// Measures how much of the stack a call needs.
#pragma once

#include <cstddef>
#include <functional>

#include <windows.h>

namespace test {

// The figures of docs/host-guide.md.
inline constexpr std::size_t kStackOfAThread = 64 * 1024;
inline constexpr std::size_t kMostOfAFunction = 8 * 1024;
inline constexpr std::size_t kMostOfARun = 4 * 1024;

/// Fills the stack below its caller; returns the beginning of that.
__attribute__((noinline)) inline const char* PaintStack(std::size_t bytes) {
    auto* const room = static_cast<volatile char*>(__builtin_alloca(bytes));
    for (std::size_t i = 0; i < bytes; ++i) {
        room[i] = 0x5A;
    }
    return const_cast<const char*>(room);
}

/// The bytes that a call needs on a thread with kStackOfAThread (in Wine such a thread gets a
/// megabyte).
inline std::size_t StackUseOf(const std::function<void()>& call) {
    struct Measurement {
        const std::function<void()>& call;
        std::size_t bytes;
    } measurement{call, 0};
    const HANDLE thread = CreateThread(
        nullptr, kStackOfAThread,
        [](void* context) -> DWORD {
            constexpr std::size_t kRoom = kStackOfAThread * 3 / 4;
            auto& measured = *static_cast<Measurement*>(context);
            const char* const room = PaintStack(kRoom);
            measured.call();
            std::size_t untouched = 0;
            while (untouched < kRoom && room[untouched] == 0x5A) {
                ++untouched;
            }
            measured.bytes = kRoom - untouched;
            return 0;
        },
        &measurement, STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr);
    WaitForSingleObject(thread, INFINITE);
    CloseHandle(thread);
    return measurement.bytes;
}

} // namespace test
