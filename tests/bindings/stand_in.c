/*
 * Solvane's functions on a minimal camera, for bindings that run here but cannot load a Windows
 * DLL. It simulates no hardware: it shows what a binding passes on, in both directions.
 *
 * STAND_IN          the hardware: "none", "busy", "changing" (not ready before the third question,
 *                   and after the fifth), otherwise a camera that is ready
 * STAND_IN_LOST     number of timer stops that return success but are lost
 * STAND_IN_JOURNAL  a file that gets a line for every call
 */
#include "operations.h"

#include <solvane/solvane.h>

#include <stdatomic.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

/* More than 32 bits, to detect a binding that truncates handles. */
#define TIMER 0x123456789abcdef0u

static SolvaneLogCallback log_callback;
static void* log_context;
static int ready_questions;
static uint64_t user_context;
static atomic_int running;
static atomic_int stopped;
static atomic_int stops;

static int is(const char* what) {
    const char* hardware = getenv("STAND_IN");
    return hardware != NULL && strcmp(hardware, what) == 0;
}

static void record(const char* call) {
    const char* path = getenv("STAND_IN_JOURNAL");
    FILE* journal = path == NULL ? NULL : fopen(path, "a");
    if (journal != NULL) {
        fprintf(journal, "%s\n", call);
        fclose(journal);
    }
}

static int16_t command(const char* call) {
    record(call);
    if (log_callback != NULL) {
        log_callback(log_context, "[00:00:00.000] a line of the log");
        log_callback(log_context, call);
    }
    if (is("none")) {
        return SOLVANE_E_NO_HARDWARE;
    }
    return is("busy") && strcmp(call, "Solvane_TriggerCapture") == 0 ? SOLVANE_E_NOT_READY
                                                                     : SOLVANE_OK;
}

static int16_t question(const char* call, int line, int16_t at_rest, int16_t* out) {
    const int16_t status = command(call);
    if (line == RIG_READY) {
        ready_questions++;
        at_rest = is("changing") ? ready_questions >= 3 && ready_questions <= 5 : !is("busy");
    }
    if (status == SOLVANE_OK) {
        *out = at_rest;
    }
    return status;
}

void SOLVANE_CALL Solvane_SetLogger(void* context, SolvaneLogCallback callback) {
    log_context = context;
    log_callback = callback;
    record(callback == NULL ? "Solvane_SetLogger null" : "Solvane_SetLogger");
}

#define COMMAND(name, ...)                                                                         \
    int16_t SOLVANE_CALL Solvane_##name(void) {                                                    \
        return command("Solvane_" #name);                                                          \
    }
#define QUESTION(name, failures, line, level)                                                      \
    int16_t SOLVANE_CALL Solvane_##name(int16_t* out) {                                            \
        return question("Solvane_" #name, line, level, out);                                       \
    }
#define ORDER(name, ...)                                                                           \
    void SOLVANE_CALL Solvane_##name(void) {                                                       \
        record("Solvane_" #name);                                                                  \
    }
SOLVANE_OPERATIONS(COMMAND, QUESTION, ORDER)

int16_t SOLVANE_CALL Solvane_CreateTimer(SolvaneTimerHandle* timer, uint64_t userContext) {
    record("Solvane_CreateTimer");
    if (is("none")) {
        return SOLVANE_E_UNDETERMINED;
    }
    user_context = userContext;
    *timer = TIMER;
    return SOLVANE_OK;
}

int16_t SOLVANE_CALL Solvane_RunTimer(SolvaneTimerHandle timer, uint32_t timerParameter,
                                      SolvaneTimerCallback callback) {
    SolvaneTimerEvent event = {SOLVANE_OK, 1, 0, 0xfffe, 3, 4};
    record("Solvane_RunTimer");
    if (timer != TIMER) {
        return SOLVANE_E_INVALID;
    }
    atomic_store(&running, 1);
    atomic_store(&stopped, 0);
    while (!atomic_load(&stopped)) {
        usleep(timerParameter);
        if (!atomic_load(&stopped)) {
            event.data0++;
            callback(user_context, &event);
        }
    }
    atomic_store(&running, 0);
    return SOLVANE_OK;
}

int16_t SOLVANE_CALL Solvane_StopTimer(SolvaneTimerHandle timer) {
    const char* lost = getenv("STAND_IN_LOST");
    record("Solvane_StopTimer");
    if (timer != TIMER || !atomic_load(&running)) {
        return SOLVANE_E_INVALID;
    }
    if (atomic_fetch_add(&stops, 1) >= (lost == NULL ? 0 : atoi(lost))) {
        atomic_store(&stopped, 1);
    }
    return SOLVANE_OK;
}

int16_t SOLVANE_CALL Solvane_DisposeTimer(SolvaneTimerHandle timer) {
    record(atomic_load(&running) ? "Solvane_DisposeTimer during a run" : "Solvane_DisposeTimer");
    return timer == TIMER ? SOLVANE_OK : SOLVANE_E_INVALID;
}
