/// Checks every line of the library's log.
#pragma once

#include <cstddef>

namespace fuzz {

/// Installed as log function while the object lives, unless Listen(false) is called. Every line
/// must begin with its time stamp, contain no zero byte, and stay within a generous length.
class WatchedLog {
  public:
    WatchedLog();
    ~WatchedLog();
    WatchedLog(const WatchedLog&) = delete;
    WatchedLog& operator=(const WatchedLog&) = delete;

    void Listen(bool on);

    /// Number of lines so far.
    std::size_t Lines() const { return lines; }

  private:
    static void Receive(void* context, const char* line);

    std::size_t lines = 0;
};

} // namespace fuzz
