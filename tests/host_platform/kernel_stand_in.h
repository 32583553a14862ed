/// A stand-in for the system calls of timers, with a scripted kernel driver. Every call goes into
/// the rig's journal; each can be made to fail (system_faults.h).
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include <windows.h>

namespace host::kernel {

// The driver's requests, each a function that can fail in its own way.
inline constexpr const char* kCreateRequest = "DeviceIoControl(TIMER_CREATE)";
inline constexpr const char* kDeleteRequest = "DeviceIoControl(TIMER_DELETE)";
inline constexpr const char* kWaitRequest = "DeviceIoControl(TIMER_WAIT)";
inline constexpr const char* kUnknownRequest = "DeviceIoControl(?)";

// Replies of a driver whose replies can be odd: they can fail, too.
inline constexpr const char* kCreateReply = "reply to TIMER_CREATE";
inline constexpr const char* kWaitReply = "reply to TIMER_WAIT";

/// The answer to one DeviceIoControl().
struct Answer {
    DWORD error = 0;                  ///< 0: the call succeeds
    std::vector<std::uint8_t> output; ///< copied as far as the caller has room; for a pending
                                      ///< request when its event was waited for
};

/// A call and its outcome.
struct CallRecord {
    std::string_view function;
    bool isDone;                           ///< it succeeded or is pending
    DWORD error = 0;                       ///< what it left as the thread's error
    std::uint64_t input = 0;               ///< of a request
    std::vector<std::uint8_t> output = {}; ///< of a creation, or of the request waited for
};

struct Script {
    DWORD createFileError = 0;
    DWORD createEventError = 0;
    std::deque<Answer> answers; ///< one a request; when used up, the driver answers
    std::function<Answer(const char* request, std::uint64_t input)> driver =
        [](const char*, std::uint64_t) { return Answer{}; };
    std::deque<DWORD> waitResults;       ///< one a wait; when used up, waits succeed
    std::function<void()> onRequest;     ///< what happens during the next request
    std::function<void()> onWait;        ///< what happens during every wait
    std::function<void()> onEndlessWait; ///< during a wait that would never end; without it such a
                                         ///< wait is a misuse
    std::wstring systemText = L"A sentence.\r\n";
    bool hasSystemText = true;
    bool handsTextOver = true; ///< else only its length is returned
    bool textConverts = true;
    std::size_t bytesPerCharacter = 1; ///< of the host's code page
    bool keepsTrace = false;           ///< for TakeTrace()
};

/// For the next calls.
extern Script script;

/// Has every event come so many ns after the latest edge of that name ("ready 1") in the rig's
/// journal; at once when that is past, or when there was none.
void ComeAfterEdge(const std::string& edge, std::uint64_t nanoseconds);

/// Forgets script and handles.
void Reset();

/// The system's state of a thread. A test with fibres exchanges it.
struct ThreadState {
    DWORD error = 0;
    HANDLE event = nullptr; ///< of the latest request
};
ThreadState& ThisThread();

/// Handles that were not closed.
std::size_t OpenHandles();

/// Calls with a handle that is not open, and waits that would never end.
int Misuses();

/// Requests that were still pending when their event was closed.
int AbandonedRequests();

/// The driver answers them late, into memory that must still be theirs; except those that were
/// reported as not pending.
void AnswerAbandoned();

/// Buffers of FormatMessageW() that were not freed.
int AllocatedTexts();

/// The calls since the last TakeTrace(), if the script keeps them.
std::vector<CallRecord> TakeTrace();

} // namespace host::kernel
