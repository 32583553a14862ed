/*
 * Triggers one capture. The exit code is 0 if it was taken: if the MEP flag, which the trigger
 * clears, is latched afterwards.
 */

#include <stdio.h>

#include <windows.h>

#include <solvane/solvane.h>

/* Asks for the MEP flag until it is latched, for 2 s: an exposure takes less. */
static int16_t wait_for_flag(int16_t* flag) {
    int16_t status = SOLVANE_OK;
    *flag = 0;
    for (int i = 0; i < 200 && status == SOLVANE_OK && !*flag; ++i) {
        Sleep(10);
        status = Solvane_CheckAndResetMepFlag(flag);
    }
    return status;
}

int main(void) {
    int16_t flag = 0;
    int16_t status = Solvane_CheckAvailable();
    if (status == SOLVANE_OK) {
        status = Solvane_TriggerCapture();
    }
    if (status == SOLVANE_OK) {
        status = wait_for_flag(&flag);
    }
    if (status != SOLVANE_OK) {
        fprintf(stderr, "Solvane answered with status %d\n", status);
        return 1;
    }
    if (!flag) {
        fputs("triggered, but no picture was taken\n", stderr);
        return 1;
    }
    puts("captured");
    return 0;
}
