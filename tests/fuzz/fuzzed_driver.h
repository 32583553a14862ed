/// The kernel with a driver that answers as a fuzzer input says. It checks every request: handles,
/// codes, sizes, buffers.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "fuzz_input.h"

namespace fuzz::driver {

void Begin(Input& input);

/// The driver answers every request from now on.
void Heal();

/// One event as the driver told it.
struct Event {
    std::int16_t status = 0;
    std::array<std::uint16_t, 4> data{};
};

/// The event of the last wait that succeeded, and whether the timer's GPIO was ready when it was
/// created.
const Event& LastEvent();
bool WasGpioReady();

/// Waits that succeeded.
unsigned Events();

/// What the next wait does before it returns, once.
void DuringNextWait(void (*action)());

std::size_t OpenHandles();
std::size_t AllocatedTexts();

/// Whether the driver has a timer of that id; ids that were never given are none.
bool HasTimer(std::uint64_t id);
/// The id that the last successful creation gave; 0 when there was none.
std::uint64_t LastTimer();

} // namespace fuzz::driver
