/// Triggers captures through the DLL, and measures in the same run and at the same timer resolution
/// how long the sleeps of a trigger pulse really are: 10 ms, and before them the milliseconds that
/// the hardware needs to settle (the argument). Prints one JSON object.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>

#include <solvane/solvane.h>
#include <windows.h>

#include <timeapi.h>

namespace {

constexpr int kRounds = 10;

double MillisecondsOfBareSleeps(DWORD settle) {
    const auto start = std::chrono::steady_clock::now();
    if (settle != 0) {
        Sleep(settle);
    }
    Sleep(10);
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
        .count();
}

} // namespace

int main(int argumentCount, char** arguments) {
    const auto settle = static_cast<DWORD>(argumentCount > 1 ? std::atoi(arguments[1]) : 0);
    double longest = 0;
    for (int i = 0; i < kRounds; ++i) {
        timeBeginPeriod(1);
        longest = std::max(longest, MillisecondsOfBareSleeps(settle));
        timeEndPeriod(1);
        const int status = Solvane_TriggerCapture();
        if (status != SOLVANE_OK) {
            std::fprintf(stderr, "trigger %d: status %d\n", i, status);
            return 1;
        }
        Sleep(60); // the camera's exposure
    }
    std::printf("{\"triggers\": %d, \"longest_bare_ms\": %.3f}\n", kRounds, longest);
    return 0;
}
