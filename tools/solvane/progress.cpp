#include "progress.h"

#include <iostream>
#include <utility>

#include <windows.h>

namespace host {

namespace {

constexpr std::chrono::milliseconds kLookEvery(250);

} // namespace

bool IsConsole(unsigned long standardHandle) {
    DWORD mode = 0;
    return GetConsoleMode(GetStdHandle(standardHandle), &mode) != 0;
}

Progress::Progress(std::string command, bool isWanted) : words(std::move(command)) {
    words += " is at work, ";
    if (isWanted && IsConsole(STD_ERROR_HANDLE)) {
        thread = std::thread([this] { Show(); });
    }
}

void Progress::Restart() {
    const std::lock_guard lock(mutex);
    Erase();
    begin = std::chrono::steady_clock::now();
}

void Progress::End() {
    {
        const std::lock_guard lock(mutex);
        isEnding = true;
    }
    ending.notify_all();
    if (thread.joinable()) {
        thread.join();
    }
}

void Progress::Show() {
    std::unique_lock lock(mutex);
    do {
        const auto since =
            std::chrono::floor<std::chrono::seconds>(std::chrono::steady_clock::now() - begin);
        if (since.count() > 0) {
            const std::string text = words + std::to_string(since.count()) + " s";
            std::cerr << text << '\r' << std::flush;
            shown = text.size();
        }
    } while (!ending.wait_for(lock, kLookEvery, [this] { return isEnding; }));
    Erase();
}

void Progress::Erase() {
    if (shown != 0) {
        std::cerr << std::string(std::exchange(shown, 0), ' ') << '\r' << std::flush;
    }
}

} // namespace host
