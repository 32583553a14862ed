/// Just enough of the Win32 headers to compile the library natively. The functions are in
/// host_platform.cpp: they move a virtual clock and write what was called into the rig's journal.
#pragma once

#include <cstdint>
#include <ctime>

extern "C" {

using DWORD = std::uint32_t;

struct FILETIME {
    DWORD dwLowDateTime;
    DWORD dwHighDateTime;
};

void Sleep(DWORD milliseconds);
void GetSystemTimePreciseAsFileTime(FILETIME* time);

/// Of <time.h> on Windows: result first, 0 is success.
int localtime_s(std::tm* local, const std::time_t* seconds);

} // extern "C"
