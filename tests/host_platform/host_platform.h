/// The native stand-in for the operating system: a clock that only Sleep() moves, and a record of
/// the system calls in the rig's journal, beside the vendor calls.
#pragma once

#include <cstdint>
#include <functional>

namespace host {

/// Nanoseconds since the process began, in virtual time.
std::uint64_t Now();

/// What else happens whenever the rig lets time pass in a call.
extern std::function<void()> duringWait;

/// Lets time pass without a call of the code under test.
void Advance(std::uint64_t nanoseconds);

/// Sets the wall clock: 100 ns ticks since 1 January 1970 at Now() == 0.
void SetWallClock(std::uint64_t ticks);

/// The system clock's ticks, with which sleeps end. One of so many of them, begun ones included, as
/// it takes for its length may be shorter than that by up to one: Windows' own description.
enum class Ticks {
    none,     ///< a sleep takes as long as it says; so it is at the start of a process
    honoured, ///< every 15.625 ms, or every ms while timeBeginPeriod() asks for that
    ignored   ///< every 15.625 ms: Windows 11 with a program whose window is hidden
};
void SetTicks(Ticks chosen);

/// timeBeginPeriod() calls minus timeEndPeriod() calls.
int RaisedTimerPeriods();

/// Whether system calls go into the rig's journal (they do at the start of a process).
void Record(bool on);
bool IsRecording();

/// Records a system call, formatted as by printf().
[[gnu::format(printf, 1, 2)]] void Note(const char* format, ...);

} // namespace host
