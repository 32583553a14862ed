/* Runs a timer of the driver's until ten events have come, and prints how each trigger went. */

#include <stdio.h>

#include <solvane/solvane.h>

/* What the timer's function needs. Its address is the timer's context. */
struct run {
    SolvaneTimerHandle timer;
    int events;
};

static void SOLVANE_CALL on_event(uint64_t context, const SolvaneTimerEvent* event) {
    struct run* run = (struct run*)(uintptr_t)context;
    run->events++;
    printf("event %d: status %d\n", run->events, event->status);
    if (run->events == 10) {
        Solvane_StopTimer(run->timer); /* the run ends when this function returns */
    }
}

static void SOLVANE_CALL on_line(void* context, const char* line) {
    (void)context;
    fprintf(stderr, "%s\n", line);
}

int main(void) {
    const uint32_t parameter = 20000; /* the rig's driver takes it for microseconds */
    struct run run = {0, 0};
    int16_t status;

    Solvane_SetLogger(NULL, on_line);
    status = Solvane_CreateTimer(&run.timer, (uint64_t)(uintptr_t)&run);
    if (status != SOLVANE_OK) {
        return 1; /* the log says why: most often the driver is not installed */
    }
    status = Solvane_RunTimer(run.timer, parameter, on_event); /* blocks until the stop */
    Solvane_DisposeTimer(run.timer); /* never before the run has returned */
    return status == SOLVANE_OK ? 0 : 1;
}
