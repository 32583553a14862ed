/// Stops the program on Ctrl-C, when its console is closed, or when the session ends. A library
/// call in progress is allowed to finish, because it leaves the lines in order; no other call is
/// begun.
#pragma once

#include <chrono>
#include <functional>

namespace host {

/// Thrown instead of beginning an operation after the program was asked to stop.
struct Stopped {};

/// Makes stop requests visible through IsStopRequested(). To be called once, at the beginning.
void ListenForStop();

/// Sets what a second Ctrl-C prints about the lines: it ends the process even in the middle of a
/// call. The pointer is kept.
void SetLinesAfterEnd(const char* sentence);

bool IsStopRequested();

/// Does something when the program is asked to stop, on another thread, or at once if it was
/// already; not after its destruction. One at a time.
class WhenStopped {
  public:
    explicit WhenStopped(std::function<void()> action);
    ~WhenStopped();
    WhenStopped(const WhenStopped&) = delete;
    WhenStopped& operator=(const WhenStopped&) = delete;
};

/// Throws Stopped if the program was asked to stop.
void EndIfStopped();

std::chrono::steady_clock::time_point SteadyNow();

/// Waits until `due`, or until the program is asked to stop.
void SleepUntil(std::chrono::steady_clock::time_point due);

} // namespace host
