/// A sign of life on a console, for commands that take their time.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

namespace host {

/// Whether what is written there is seen at once: in a file a sign of life would be noise.
bool IsConsole(unsigned long standardHandle);

/// Tells on the console of standard error that a command is at work and for how long, from its
/// second second on.
class Progress {
  public:
    /// Without a console, or if it is not wanted, it never says anything.
    Progress(std::string command, bool isWanted);

    /// Clears the message from the console, so that other output can be printed there, and starts
    /// counting again.
    void Restart();

    /// For commands that show themselves that they are alive.
    void End();

  private:
    void Show(const std::stop_token& ended);
    void Erase();

    std::string words;
    std::size_t shown = 0; ///< characters that stand on the console
    std::chrono::steady_clock::time_point begin = std::chrono::steady_clock::now();
    std::mutex mutex;
    std::condition_variable_any ending;
    std::jthread thread; ///< ends before what it uses
};

} // namespace host
