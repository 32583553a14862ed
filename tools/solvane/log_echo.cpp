#include "log_echo.h"

#include <iostream>
#include <utility>

namespace host {

namespace {

/// The program's only echo; null if there is none.
LogEcho* present = nullptr;

} // namespace

LogEcho::LogEcho() : writer([this] { Write(); }) {
    present = this;
}

LogEcho::~LogEcho() {
    WaitUntilWritten();
    present = nullptr;
    {
        const std::lock_guard lock(mutex);
        isToEnd = true;
    }
    changed.notify_all();
    writer.join();
}

void LogEcho::Add(std::string line) {
    {
        const std::lock_guard lock(mutex);
        waiting.push_back(std::move(line));
    }
    changed.notify_all();
}

void LogEcho::WaitUntilWritten() {
    if (present != nullptr) {
        std::unique_lock lock(present->mutex);
        present->changed.wait(lock, [] { return present->waiting.empty() && !present->isWriting; });
    }
}

void LogEcho::Write() {
    std::unique_lock lock(mutex);
    for (;;) {
        changed.wait(lock, [this] { return isToEnd || !waiting.empty(); });
        if (waiting.empty()) {
            return;
        }
        const std::vector<std::string> lines = std::exchange(waiting, {});
        isWriting = true;
        lock.unlock();
        for (const std::string& line : lines) {
            std::cerr << line << std::endl;
        }
        lock.lock();
        isWriting = false;
        changed.notify_all();
    }
}

} // namespace host
