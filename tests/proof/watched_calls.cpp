#include "watched_calls.h"

#include <utility>

#include "memory_checker.h"
#include "thread_scheduler.h"

namespace proof {

std::function<void(WatchedCall)> onWatchedCall;

namespace {

class Watch {
  public:
    Watch() : arrived(scheduler.Step()) {
        scheduler.MayBePreempted();
        began = scheduler.Step();
    }
    ~Watch() {
        for (host::kernel::CallRecord& record : host::kernel::TakeTrace()) {
            if (onWatchedCall) {
                onWatchedCall({std::move(record), arrived, began, scheduler.Step()});
            }
        }
    }
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;

  private:
    InLibrary outside{false};
    std::size_t arrived;
    std::size_t began = 0;
};

} // namespace

} // namespace proof

#define WATCH(Result, Function, parameters, arguments)                                             \
    extern "C" Result __real_##Function parameters;                                                \
    extern "C" Result __wrap_##Function parameters;                                                \
    Result __wrap_##Function parameters {                                                          \
        const proof::Watch watch;                                                                  \
        return __real_##Function arguments;                                                        \
    }

WATCH(HANDLE, CreateFileW,
      (const wchar_t* name, DWORD access, DWORD share, SECURITY_ATTRIBUTES* security,
       DWORD disposition, DWORD flags, HANDLE pattern),
      (name, access, share, security, disposition, flags, pattern))
WATCH(BOOL, DeviceIoControl,
      (HANDLE device, DWORD code, void* input, DWORD inputSize, void* output, DWORD outputSize,
       DWORD* returned, OVERLAPPED* overlapped),
      (device, code, input, inputSize, output, outputSize, returned, overlapped))
WATCH(HANDLE, CreateEventW,
      (SECURITY_ATTRIBUTES * security, BOOL manualReset, BOOL signalled, const wchar_t* name),
      (security, manualReset, signalled, name))
WATCH(DWORD, WaitForSingleObject, (HANDLE handle, DWORD milliseconds), (handle, milliseconds))
WATCH(BOOL, CloseHandle, (HANDLE handle), (handle))
WATCH(DWORD, GetLastError, (), ())
WATCH(DWORD, FormatMessageW,
      (DWORD flags, const void* source, DWORD message, DWORD language, wchar_t* buffer, DWORD size,
       void* arguments),
      (flags, source, message, language, buffer, size, arguments))
WATCH(void*, LocalFree, (void* memory), (memory))
WATCH(int, wcstombs_s,
      (std::size_t * converted, char* narrow, std::size_t size, const wchar_t* wide,
       std::size_t count),
      (converted, narrow, size, wide, count))

/// The system sees the two fibres as one thread.
extern "C" DWORD __wrap_GetCurrentThreadId();
DWORD __wrap_GetCurrentThreadId() {
    const proof::Watch watch;
    return static_cast<DWORD>(proof::scheduler.Running()) + 1;
}
