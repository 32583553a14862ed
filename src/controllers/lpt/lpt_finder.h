/// Finds the machine's parallel port.
#pragma once

#include <cstdint>

#include "logger.h"

namespace SLV::Internal {

/// The I/O base address of the first parallel port that Windows knows, or 0, with the reason in
/// the log. COM is left as the host had it.
std::uint16_t FindLptBaseAddress(Logger& logger);

} // namespace SLV::Internal
