/// Stops the program on Ctrl-C, when its console is closed, or when the session ends. A library
/// call in progress is allowed to finish, because it leaves the lines in order; no other call is
/// begun.
#pragma once

#include <chrono>
#include <stop_token>

namespace host {

/// Thrown instead of beginning an operation after the program was asked to stop.
struct Stopped {};

/// Makes stop requests visible through StopToken(). To be called once, at the beginning.
void ListenForStop();

/// Sets what a second Ctrl-C prints about the lines: it ends the process even in the middle of a
/// call. The pointer is kept.
void SetLinesAfterEnd(const char* sentence);

std::stop_token StopToken();

/// Throws Stopped if the program was asked to stop.
void EndIfStopped();

std::chrono::steady_clock::time_point SteadyNow();

/// Waits until `due`, or until the program is asked to stop.
void SleepUntil(std::chrono::steady_clock::time_point due);

} // namespace host
