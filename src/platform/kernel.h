/// Win32 kernel services: the exact list of what the library uses of them.
#pragma once

#include <windows.h>

#include <cstdlib>

namespace platform {
using ::GetCurrentThreadId; // which thread has the log's open line
using ::Sleep;

// The driver's device, its requests, and the event that their completion signals.
using ::CloseHandle;
using ::CreateEventW;
using ::CreateFileW;
using ::DeviceIoControl;
using ::DWORD;
using ::HANDLE;
using ::OVERLAPPED;
using ::WaitForSingleObject;

// The system's sentence for an error.
using ::FormatMessageW;
using ::GetLastError;
using ::LocalFree;
using ::wcstombs_s;
} // namespace platform
