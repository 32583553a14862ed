/// How the program is told to stop: by Ctrl-C, by a console that is closed, by a session that ends.
/// An operation of the library that is in progress is let finish, for it leaves the lines as they
/// should be; nothing more is begun.
#pragma once

#include <chrono>
#include <stop_token>

namespace host {

/// Thrown where something would begin after the program was told to stop.
struct Stopped {};

/// From now on the process is told through StopToken(). To be called once, at the beginning.
void ListenForStop();

/// What a second Ctrl-C says of the lines, for it ends the process wherever it is. It is kept.
void SetLinesAfterEnd(const char* sentence);

std::stop_token StopToken();

/// Throws Stopped if the program was told to stop.
void EndIfStopped();

std::chrono::steady_clock::time_point SteadyNow();

/// Waits until then, or until the program is told to stop.
void SleepUntil(std::chrono::steady_clock::time_point due);

} // namespace host
