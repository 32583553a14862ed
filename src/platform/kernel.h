/// Win32 kernel services: the exact list of what the library uses of them.
#pragma once

#include <windows.h>

namespace platform {
using ::Sleep;
} // namespace platform
