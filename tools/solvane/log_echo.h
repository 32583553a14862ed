/// Log lines on standard error, written by a thread of their own. A console whose text is being
/// selected, or a pipe that nobody reads, holds its writer up for as long as it likes, and the
/// library logs in the midst of pulses.
#pragma once

#include <condition_variable>
#include <mutex>
#include <stop_token>
#include <string>
#include <thread>
#include <vector>

namespace host {

class LogEcho {
  public:
    LogEcho();
    /// Writes what is left.
    ~LogEcho();
    LogEcho(const LogEcho&) = delete;
    LogEcho& operator=(const LogEcho&) = delete;

    /// Never waits for the one who reads.
    void Add(std::string line);

    /// Waits until everything is written that was added before, by whichever echo there is: what
    /// the program itself prints comes behind it.
    static void WaitUntilWritten();

  private:
    void Write(const std::stop_token& stop);

    std::mutex mutex;
    std::condition_variable_any changed;
    std::vector<std::string> waiting;
    bool isWriting = false;
    std::jthread writer;
};

} // namespace host
