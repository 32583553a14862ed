/// A kernel driver that does what a test says: the answers to the system calls of the timer
/// service, given in advance. Every call goes into the rig's journal.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <vector>

#include <windows.h>

namespace host::kernel {

/// The answer to one DeviceIoControl().
struct Answer {
    DWORD error = 0;                  ///< 0: the call succeeds
    std::vector<std::uint8_t> output; ///< copied as far as the caller has room
};

struct Script {
    DWORD createFileError = 0;
    DWORD createEventError = 0;
    std::deque<Answer> answers;      ///< one a request; when used up, requests succeed emptily
    std::deque<DWORD> waitResults;   ///< one a wait; when used up, waits succeed
    std::function<void()> onRequest; ///< what happens during the next request
    std::function<void()> onWait;    ///< what happens during every wait
    std::wstring systemText = L"A sentence.\r\n";
    bool hasSystemText = true;
    bool handsTextOver = true; ///< else only its length is answered
    bool textConverts = true;
    std::size_t bytesPerCharacter = 1; ///< of the host's code page
};

/// What the next calls are answered with.
extern Script script;

/// Forgets script and handles.
void Reset();

/// Handles that were given out and not closed.
std::size_t OpenHandles();

/// Buffers of FormatMessageW() that were not freed.
int AllocatedTexts();

} // namespace host::kernel
