/// Notification of the end of the user's session: log-off or shutdown.
#pragma once

namespace host {

/// Calls a function on a thread of its own when the session ends. Windows may end the process when
/// the function returns.
///
/// Needed because Windows sends no console event for this to a process that has loaded user32.dll,
/// as vendors' libraries do; it only sends window messages.
void ListenForSessionEnd(void (*onEnd)());

} // namespace host
