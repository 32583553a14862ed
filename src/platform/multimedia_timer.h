/// The system's timer resolution, which decides how long a Sleep() really takes.
#pragma once

#include <windows.h>

#include <timeapi.h>

namespace platform {
using ::timeBeginPeriod;
using ::timeEndPeriod;
} // namespace platform
