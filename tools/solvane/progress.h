/// A progress message on the console, for commands that take long.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

namespace host {

/// Whether a standard handle is a console; a progress message in a file would be noise.
bool IsConsole(unsigned long standardHandle);

/// Shows on the console of standard error that a command is running and for how long, once it has
/// taken a second.
class Progress {
  public:
    /// Shows nothing if `isWanted` is false or standard error is not a console.
    Progress(std::string command, bool isWanted);
    ~Progress() { End(); }
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// Clears the message, so that other output can be printed, and restarts the count.
    void Restart();

    /// Clears the message for good, for commands whose own output shows progress.
    void End();

  private:
    void Show();
    void Erase();

    std::string words;
    std::size_t shown = 0; ///< characters of the message on the console
    std::chrono::steady_clock::time_point begin = std::chrono::steady_clock::now();
    std::mutex mutex;
    std::condition_variable ending;
    bool isEnding = false;
    std::thread thread;
};

} // namespace host
