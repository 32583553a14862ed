/// The wall clock and its conversion to local time, for the time stamps of log lines.
#pragma once

#include <windows.h>

#include <ctime>

namespace platform {
using ::FILETIME;
using ::GetSystemTimePreciseAsFileTime;
using ::localtime_s;
} // namespace platform
