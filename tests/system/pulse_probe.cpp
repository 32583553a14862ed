/// Triggers captures through the DLL and measures, in the same run and at the same timer
/// resolution, what the system makes of the sleeps that a trigger pulse consists of. Prints one
/// JSON object.

#include <algorithm>
#include <chrono>
#include <cstdio>

#include <solvane/solvane.h>
#include <windows.h>

#include <timeapi.h>

namespace {

constexpr int kRounds = 10;

/// On the FT2232H the trigger line stays high for the 2 ms that a write takes to settle and the
/// 10 ms of the pulse.
double MilliSecondsOfBareSleeps() {
    const auto start = std::chrono::steady_clock::now();
    Sleep(2);
    Sleep(10);
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
        .count();
}

} // namespace

int main() {
    double longest = 0;
    for (int i = 0; i < kRounds; ++i) {
        timeBeginPeriod(1);
        longest = std::max(longest, MilliSecondsOfBareSleeps());
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
