#include "watched_log.h"

#include <string_view>

#include "fuzz_check.h"
#include "logger.h"

namespace fuzz {

namespace {

/// Dots and parts of lines accumulate until the end of a line. An input has few operations, so no
/// line grows beyond this.
constexpr std::size_t kLongestLine = 8192;

bool HasTimestamp(std::string_view line) {
    constexpr std::string_view kShape = "[00:00:00.000] ";
    if (line.size() < kShape.size()) {
        return false;
    }
    for (std::size_t i = 0; i < kShape.size(); ++i) {
        const bool isDigit = line[i] >= '0' && line[i] <= '9';
        if (kShape[i] == '0' ? !isDigit : line[i] != kShape[i]) {
            return false;
        }
    }
    return true;
}

} // namespace

WatchedLog::WatchedLog() {
    Listen(true);
}

WatchedLog::~WatchedLog() {
    Listen(false);
}

void WatchedLog::Listen(bool on) {
    SLV::Internal::s_logger.Install(on ? this : nullptr, on ? Receive : nullptr);
}

void WatchedLog::Receive(void* context, const char* line) {
    const std::string_view text(line);
    Check(text.size() == SLV::Internal::s_logger.stream.View().size(), "a line holds no zero byte");
    Check(text.size() <= kLongestLine, "a line is bounded");
    // Dots alone never make a line, so every line has a time stamp.
    Check(text.empty() || HasTimestamp(text), "a line begins with its time stamp");
    ++static_cast<WatchedLog*>(context)->lines;
}

} // namespace fuzz
