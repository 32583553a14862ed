// Prints "system ready" and each of its changes: watch_ready [seconds, 10 by default]

#include <chrono>
#include <cstdlib>
#include <iostream>
#include <optional>
#include <thread>

#include <solvane/solvane.hpp>

int main(int argc, char** argv) try {
    using Clock = std::chrono::steady_clock;
    const std::chrono::duration<double> watch{argc > 1 ? std::atof(argv[1]) : 10};
    const Clock::time_point begin = Clock::now();
    std::optional<bool> before; // the first answer is a change

    while (Clock::now() - begin < watch) {
        const bool ready = solvane::CheckSystemReady();
        if (ready != before) {
            std::cout << (ready ? "ready" : "not ready") << std::endl; // visible at once
            before = ready;
        }
        // The question takes about 2 ms.
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return 0;
} catch (const solvane::Error& error) {
    std::cerr << error.what() << '\n';
    return 1;
}
