/*
 * Triggers one capture, in a program that has no C run-time library: it can be built with clang and
 * lld-link alone, where no Visual Studio is installed. The exit code is 0 if it was taken.
 */

#include <stdint.h>

#include <solvane/solvane.h>

__declspec(dllimport) void __stdcall ExitProcess(unsigned exitCode);

void start(void) {
    int16_t status = Solvane_CheckAvailable();
    if (status == SOLVANE_OK) {
        status = Solvane_TriggerCapture();
    }
    ExitProcess(status == SOLVANE_OK ? 0 : 1);
}
