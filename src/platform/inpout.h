/// InpOut: the calls of inpoutx64.dll, which reach I/O ports through a kernel driver of its own.
#pragma once

#include <cstdint>

#if defined(_WIN32)
#define INPOUT_CALL __stdcall
#else
#define INPOUT_CALL
#endif

extern "C" {

/// Reads a port. Of an 8-bit port only the low byte means anything.
std::uint16_t INPOUT_CALL Inp32(std::uint16_t port);

void INPOUT_CALL Out32(std::uint16_t port, std::uint16_t value);

/// Non-zero when the kernel driver is open; without it, reads and writes do nothing.
std::uint32_t INPOUT_CALL IsInpOutDriverOpen(void);

} // extern "C"
