/// The library's log with a host that reads every line closely.
#pragma once

#include <cstddef>

namespace fuzz {

/// The host listens as long as the object lives, unless it is told not to. Every line must have its
/// time stamp, hold no zero byte and stay within a length that no healthy line comes near.
class WatchedLog {
  public:
    WatchedLog();
    ~WatchedLog();
    WatchedLog(const WatchedLog&) = delete;
    WatchedLog& operator=(const WatchedLog&) = delete;

    void Listen(bool on);

    /// Lines so far.
    std::size_t Lines() const { return lines; }

  private:
    static void Receive(void* context, const char* line);

    std::size_t lines = 0;
};

} // namespace fuzz
