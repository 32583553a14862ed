#include "stop.h"

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <string>
#include <utility>

#include <windows.h>

#include "command_line.h"
#include "session_end.h"

namespace host {

namespace {

std::atomic<bool> isStopRequested{false};

struct Listeners {
    std::mutex mutex;
    std::condition_variable stopped;
    std::function<void()> action; ///< when the program is asked to stop; empty for none
};

/// Never destroyed: Ctrl-C may come at any time.
Listeners& TheListeners() {
    static Listeners& listeners = *new Listeners;
    return listeners;
}

/// False when the program was asked to stop before. That answer never waits.
bool RequestStop() {
    if (isStopRequested.exchange(true)) {
        return false;
    }
    Listeners& listeners = TheListeners();
    const std::lock_guard lock(listeners.mutex);
    if (listeners.action) {
        listeners.action();
    }
    listeners.stopped.notify_all();
    return true;
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
    const bool isFirst = RequestStop();
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
    TheListeners();
    SetConsoleCtrlHandler(OnConsoleEvent, TRUE);
    ListenForSessionEnd([] {
        RequestStop();
        Sleep(INFINITE);
    });
}

void SetLinesAfterEnd(const char* sentence) {
    linesAfterEnd = sentence;
}

bool IsStopRequested() {
    return isStopRequested;
}

WhenStopped::WhenStopped(std::function<void()> action) {
    Listeners& listeners = TheListeners();
    const std::lock_guard lock(listeners.mutex);
    if (isStopRequested) {
        action();
    } else {
        listeners.action = std::move(action);
    }
}

WhenStopped::~WhenStopped() {
    Listeners& listeners = TheListeners();
    const std::lock_guard lock(listeners.mutex);
    listeners.action = nullptr;
}

void EndIfStopped() {
    if (isStopRequested) {
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
    Listeners& listeners = TheListeners();
    std::unique_lock lock(listeners.mutex);
    listeners.stopped.wait_until(lock, due, [] { return isStopRequested.load(); });
}

} // namespace host
