/*
 * Takes one picture and makes sure of it. The exit code is 0 if the MEP flag has confirmed it, 1 if
 * the camera was not triggered, 2 if it was, or may have been, and nothing confirms it.
 */

#include <stdio.h>

#include <windows.h>

#include <solvane/solvane.h>

enum { TAKEN = 0, NOT_TRIGGERED = 1, UNCONFIRMED = 2 };

/* What the camera of this installation needs; the library knows nothing of it. */
enum {
    READY_MS = 2000, /* from one picture until it is ready again, at the longest */
    MEP_MS = 1000,   /* from the trigger until the MEP flag, at the longest */
    POLL_MS = 5      /* between two questions */
};

typedef int16_t(SOLVANE_CALL* question)(int16_t* yes);

/* Asks until the answer is yes, or time is up. By the clock: a question can take some seconds. */
static int16_t wait_for_yes(question ask, ULONGLONG milliseconds, int16_t* yes) {
    const ULONGLONG begin = GetTickCount64();
    int16_t status = ask(yes);
    while (status == SOLVANE_OK && !*yes && GetTickCount64() - begin < milliseconds) {
        Sleep(POLL_MS);
        status = ask(yes);
    }
    return status;
}

/* Asking clears the flag, so the second answer is no, unless nothing can clear it. */
static int16_t take_flag_down(int16_t* stuck) {
    int16_t status = Solvane_CheckAndResetMepFlag(stuck);
    if (status == SOLVANE_OK && *stuck) {
        status = Solvane_CheckAndResetMepFlag(stuck);
    }
    return status;
}

static int end(int outcome, const char* what, int16_t status) {
    fprintf(stderr, "%s; the hardware answers with status %d\n", what, status);
    return outcome;
}

static int take_a_picture(void) {
    int16_t ready = 0;
    int16_t flag = 0;
    int16_t stuck = 0;
    int16_t status = wait_for_yes(Solvane_CheckSystemReady, READY_MS, &ready);
    if (status != SOLVANE_OK || !ready) {
        return end(NOT_TRIGGERED, "not ready", Solvane_CheckAvailable());
    }

    /* A flag that is up already would pass for this picture's. */
    status = take_flag_down(&stuck);
    if (status != SOLVANE_OK || stuck) {
        return end(NOT_TRIGGERED, "the MEP flag cannot be taken down", status);
    }

    status = Solvane_TriggerCapture();
    if (status == SOLVANE_E_NOT_READY || status == SOLVANE_E_NO_HARDWARE) {
        return end(NOT_TRIGGERED, "not ready any more", Solvane_CheckAvailable());
    }
    if (status != SOLVANE_OK) {
        /* The trigger may have been given, and its line may still be high: put it to rest. */
        status = Solvane_RecheckStatus();
    }

    if (status == SOLVANE_OK) {
        status = wait_for_yes(Solvane_CheckAndResetMepFlag, MEP_MS, &flag);
    }
    if (status == SOLVANE_OK && flag) {
        /* Ports whose driver has died can read as a flag too, as one that stays. */
        status = take_flag_down(&stuck);
    }
    if (status != SOLVANE_OK || !flag || stuck) {
        return end(UNCONFIRMED, "triggered, but not confirmed", Solvane_RecheckStatus());
    }
    printf("taken\n");
    return TAKEN;
}

int main(void) {
    return take_a_picture();
}
