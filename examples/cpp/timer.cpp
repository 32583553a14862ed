// Runs a timer of the driver's until ten events have come, and prints how each trigger went.

#include <iostream>

#include <solvane/solvane.hpp>

int main() try {
    constexpr std::uint32_t kParameter = 20000; // the rig's driver takes it for microseconds

    const solvane::Logger logger([](std::string_view line) { std::cerr << line << '\n'; });
    solvane::Timer timer; // throws when the driver is not installed; the log says why
    int events = 0;
    timer.Run(kParameter, [&](const solvane::TimerEvent& event) { // blocks until the stop
        ++events;
        std::cout << "event " << events << ": status " << event.status << '\n';
        if (events == 10) {
            timer.Stop(); // the run ends when this function returns
        }
    });
    return 0;
} catch (const solvane::Error& error) {
    std::cerr << error.what() << '\n';
    return 1;
}
