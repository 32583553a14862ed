/// Processes that end while a timer of solvane.hpp runs, or inside one of its callbacks.

#include <cstdlib>
#include <future>
#include <iostream>
#include <string>
#include <thread>
#include <utility>

#include <solvane/solvane.hpp>

namespace {

constexpr std::uint32_t kPeriod = 2000;

/// Returns when the timer runs on a thread that nobody waits for.
void RunBesideMain(solvane::Timer& timer) {
    std::promise<void> begun;
    std::thread([&timer, &begun] {
        bool isFirst = true;
        timer.Run(kPeriod, [&](const solvane::TimerEvent&) {
            if (std::exchange(isFirst, false)) {
                begun.set_value();
            }
        });
    }).detach();
    begun.get_future().wait();
}

/// Windows ends the thread.
int EndBeside() {
    RunBesideMain(*new solvane::Timer);
    return 3;
}

/// The timer is destroyed after main().
int EndWithAStaticTimer() {
    static solvane::Timer timer;
    RunBesideMain(timer);
    return 4;
}

int EndInside() {
    solvane::Timer timer;
    timer.Run(kPeriod, [](const solvane::TimerEvent&) { std::exit(5); });
    return 0;
}

int EndInTheLog() {
    static const solvane::Logger logger([](std::string_view) { std::exit(6); });
    solvane::CloseDevice();
    return 0;
}

int ThrowOutOfTheFunction() {
    static const solvane::Logger logger([](std::string_view) { throw 1; });
    solvane::Timer timer;
    try {
        timer.Run(kPeriod, [](const solvane::TimerEvent&) { throw 7; });
    } catch (int thrown) {
        return thrown;
    }
    return 0;
}

} // namespace

int main(int, char** arguments) {
    const std::string mode = arguments[1];
    return mode == "end-beside"   ? EndBeside()
           : mode == "end-static" ? EndWithAStaticTimer()
           : mode == "end-inside" ? EndInside()
           : mode == "end-log"    ? EndInTheLog()
                                  : ThrowOutOfTheFunction();
}
