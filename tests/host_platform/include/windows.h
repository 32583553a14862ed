/// Just enough of the Win32 headers to compile the library natively. The functions are in
/// host_platform.cpp: they move a virtual clock and write what was called into the rig's journal.
#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>

extern "C" {

using BOOL = int;
using DWORD = std::uint32_t;
using HANDLE = void*;
using ULONGLONG = std::uint64_t;

struct FILETIME {
    DWORD dwLowDateTime;
    DWORD dwHighDateTime;
};

void Sleep(DWORD milliseconds);
DWORD GetCurrentThreadId(void);
void GetSystemTimePreciseAsFileTime(FILETIME* time);
ULONGLONG GetTickCount64(void); ///< the examples ask for it, the library does not

struct SECURITY_ATTRIBUTES;

struct OVERLAPPED {
    std::uintptr_t Internal;
    std::uintptr_t InternalHigh;
    DWORD Offset;
    DWORD OffsetHigh;
    HANDLE hEvent;
};

// The functions below are answered by kernel_stand_in.cpp, as a test scripts them.
HANDLE CreateFileW(const wchar_t* name, DWORD access, DWORD share, SECURITY_ATTRIBUTES* security,
                   DWORD disposition, DWORD flags, HANDLE pattern);
BOOL DeviceIoControl(HANDLE device, DWORD code, void* input, DWORD inputSize, void* output,
                     DWORD outputSize, DWORD* returned, OVERLAPPED* overlapped);
HANDLE CreateEventW(SECURITY_ATTRIBUTES* security, BOOL manualReset, BOOL signalled,
                    const wchar_t* name);
DWORD WaitForSingleObject(HANDLE handle, DWORD milliseconds);
BOOL CloseHandle(HANDLE handle);
DWORD GetLastError(void);
DWORD FormatMessageW(DWORD flags, const void* source, DWORD message, DWORD language,
                     wchar_t* buffer, DWORD size, void* arguments);
void* LocalFree(void* memory);

/// Of <stdlib.h> on Windows.
int wcstombs_s(std::size_t* converted, char* narrow, std::size_t size, const wchar_t* wide,
               std::size_t count);

/// Of <time.h> on Windows: result first, 0 is success.
int localtime_s(std::tm* local, const std::time_t* seconds);

} // extern "C"

// Macros, as the system has them, with the system's values.
#define INVALID_HANDLE_VALUE (reinterpret_cast<HANDLE>(std::intptr_t{-1}))
#define GENERIC_READ 0x80000000u
#define GENERIC_WRITE 0x40000000u
#define OPEN_EXISTING 3u
#define FILE_FLAG_OVERLAPPED 0x40000000u
#define FALSE 0
#define INFINITE 0xFFFFFFFFu
#define WAIT_OBJECT_0 0u
#define ERROR_IO_PENDING 997u
#define FORMAT_MESSAGE_ALLOCATE_BUFFER 0x0100u
#define FORMAT_MESSAGE_IGNORE_INSERTS 0x0200u
#define FORMAT_MESSAGE_FROM_SYSTEM 0x1000u
#define _TRUNCATE (static_cast<std::size_t>(-1))
