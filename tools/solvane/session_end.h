/// The end of the user's session: log-off, shut-down.
#pragma once

namespace host {

/// Has a function called, on a thread of its own, when the session ends. Windows may end the
/// process when it returns.
///
/// A program that uses user32.dll, as vendors' libraries do, is no console program to Windows when
/// a session ends: it is told as windows are, not as consoles.
void ListenForSessionEnd(void (*onEnd)());

} // namespace host
