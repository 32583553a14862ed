/// A kernel with a driver that answers as a fuzzer input says. It checks the handle, code, sizes
/// and buffers of every request.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "fuzz_input.h"

namespace fuzz::driver {

void Begin(Input& input);

/// From now on the driver answers every request correctly.
void Heal();

/// An event as the driver delivered it.
struct Event {
    std::int16_t status = 0;
    std::array<std::uint16_t, 4> data{};
};

/// The event of the last wait that succeeded, and whether the timer's GPIO was ready when it was
/// created.
const Event& LastEvent();
bool WasGpioReady();

/// Number of waits that succeeded.
unsigned Events();

/// Sets an action that the next wait performs before it returns.
void DuringNextWait(void (*action)());

std::size_t OpenHandles();
std::size_t AllocatedTexts();

/// Whether the driver has a timer of that id; false for ids that it never returned.
bool HasTimer(std::uint64_t id);
/// The id from the last successful creation; 0 if there was none.
std::uint64_t LastTimer();

} // namespace fuzz::driver
