/// Writes log lines to standard error on a thread of its own. The library logs in the middle of
/// pulses, and a console in which text is being selected, or a pipe that nobody reads, can block a
/// writer for any time.
#pragma once

#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace host {

class LogEcho {
  public:
    LogEcho();
    /// Writes the remaining lines.
    ~LogEcho();
    LogEcho(const LogEcho&) = delete;
    LogEcho& operator=(const LogEcho&) = delete;

    /// Never blocks on the console or pipe.
    void Add(std::string line);

    /// Waits until the program's echo, if any, has written all its lines, so that output of the
    /// program itself comes after them.
    static void WaitUntilWritten();

  private:
    void Write();

    std::mutex mutex;
    std::condition_variable changed;
    std::vector<std::string> waiting;
    bool isWriting = false;
    bool isToEnd = false;
    std::thread writer;
};

} // namespace host
