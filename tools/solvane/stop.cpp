#include "stop.h"

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <string>

#include <windows.h>

#include "command_line.h"
#include "session_end.h"

namespace host {

namespace {

/// Never destroyed: Ctrl-C may come at any time.
std::stop_source& Source() {
    static std::stop_source& source = *new std::stop_source;
    return source;
}

std::atomic<const char*> linesAfterEnd{""};

DWORD WINAPI PrintLinesAfterEnd(void*) {
    const std::string text = std::string("solvane: ended at once. ") + linesAfterEnd.load() + "\n";
    DWORD written = 0;
    WriteFile(GetStdHandle(STD_ERROR_HANDLE), text.data(), static_cast<DWORD>(text.size()),
              &written, nullptr);
    return 0;
}

/// Terminates the process. A normal exit would unload the library in the middle of a call.
void EndAtOnce() {
    constexpr DWORD kMostMilliseconds = 500;
    // On a thread of its own, because writing to standard error may block.
    if (const HANDLE thread = CreateThread(nullptr, 0, PrintLinesAfterEnd, nullptr, 0, nullptr)) {
        WaitForSingleObject(thread, kMostMilliseconds);
        CloseHandle(thread);
    }
    TerminateProcess(GetCurrentProcess(), kStopped);
}

/// Windows calls this on a new thread.
BOOL WINAPI OnConsoleEvent(DWORD event) {
    const bool isFirst = Source().request_stop();
    if (event == CTRL_C_EVENT || event == CTRL_BREAK_EVENT) {
        if (!isFirst) {
            EndAtOnce();
        }
        return TRUE;
    }
    // The console is being closed or the session ends, and Windows ends the process when this
    // returns. So never return: the process exits by itself after the current operation.
    Sleep(INFINITE);
    return TRUE;
}

} // namespace

void ListenForStop() {
    Source();
    SetConsoleCtrlHandler(OnConsoleEvent, TRUE);
    ListenForSessionEnd([] {
        Source().request_stop();
        Sleep(INFINITE);
    });
}

void SetLinesAfterEnd(const char* sentence) {
    linesAfterEnd = sentence;
}

std::stop_token StopToken() {
    return Source().get_token();
}

void EndIfStopped() {
    if (Source().stop_requested()) {
        throw Stopped();
    }
}

std::chrono::steady_clock::time_point SteadyNow() {
    return std::chrono::steady_clock::now();
}

void SleepUntil(std::chrono::steady_clock::time_point due) {
    if (std::chrono::steady_clock::now() >= due) {
        return;
    }
    static std::mutex mutex; // guards nothing; wait_until() needs one
    static std::condition_variable_any nothing;
    std::unique_lock lock(mutex);
    nothing.wait_until(lock, StopToken(), due, [] { return false; });
}

} // namespace host
