/*
 * Triggers one capture, in a program that has no C run-time library: it can be built with clang and
 * lld-link alone, where no Visual Studio is installed. The exit code is 0 if it was taken: if the
 * MEP flag, which the trigger clears, is latched afterwards.
 */

#include <stdint.h>

#include <solvane/solvane.h>

__declspec(dllimport) void __stdcall ExitProcess(unsigned exitCode);
__declspec(dllimport) void __stdcall Sleep(unsigned long milliseconds);

void start(void) {
    int16_t flag = 0;
    int16_t status = Solvane_CheckAvailable();
    if (status == SOLVANE_OK) {
        status = Solvane_TriggerCapture();
    }
    for (int i = 0; i < 200 && status == SOLVANE_OK && !flag; ++i) { /* an exposure takes less */
        Sleep(10);
        status = Solvane_CheckAndResetMepFlag(&flag);
    }
    ExitProcess(status == SOLVANE_OK && flag ? 0 : 1);
}
