/*
 * Solvane's functions over a camera of a few lines of C, for bindings that can be run here but not
 * load a Windows DLL. It is no rig: it shows what arrives through a binding, in both directions.
 *
 * STAND_IN          what is there: "none", "busy", "changing" (not ready before the third question,
 *                   and after the fifth), else a camera that is ready
 * STAND_IN_LOST     how many stops of timers are answered with success and lost
 * STAND_IN_JOURNAL  a file that gets a line for every call
 */
#include <solvane/solvane.h>

#include <stdatomic.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

/* The handle is wider than 32 bits, so that a binding that cuts it off is found out. */
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
    return is("none") ? SOLVANE_E_NO_HARDWARE : SOLVANE_OK;
}

static int16_t question(const char* call, int16_t* out, int16_t answer) {
    const int16_t status = command(call);
    if (status == SOLVANE_OK) {
        *out = answer;
    }
    return status;
}

void SOLVANE_CALL Solvane_SetLogger(void* context, SolvaneLogCallback callback) {
    log_context = context;
    log_callback = callback;
    record(callback == NULL ? "Solvane_SetLogger null" : "Solvane_SetLogger");
}

#define COMMAND(name)                                                                              \
    int16_t SOLVANE_CALL name(void) {                                                              \
        return command(#name);                                                                     \
    }
COMMAND(Solvane_CheckAvailable)
COMMAND(Solvane_CheckPowerControlAvailable)
COMMAND(Solvane_RecheckStatus)
COMMAND(Solvane_WakeCamera)
COMMAND(Solvane_EnableForcedBlackUpdate)
COMMAND(Solvane_DisableForcedBlackUpdate)
COMMAND(Solvane_EnableCameraPower)
COMMAND(Solvane_DisableCameraPower)
COMMAND(Solvane_EnableAccessoriesPower)
COMMAND(Solvane_DisableAccessoriesPower)
COMMAND(Solvane_CloseDevice)
COMMAND(Solvane_ResetComPort)

void SOLVANE_CALL Solvane_EnforceFTDI(void) {
    record("Solvane_EnforceFTDI");
}

int16_t SOLVANE_CALL Solvane_TriggerCapture(void) {
    const int16_t status = command("Solvane_TriggerCapture");
    return status == SOLVANE_OK && is("busy") ? SOLVANE_E_NOT_READY : status;
}

int16_t SOLVANE_CALL Solvane_CheckSystemReady(int16_t* ready) {
    ready_questions++;
    return question("Solvane_CheckSystemReady", ready,
                    is("changing") ? ready_questions >= 3 && ready_questions <= 5 : !is("busy"));
}

#define QUESTION(name, answer)                                                                     \
    int16_t SOLVANE_CALL name(int16_t* out) {                                                      \
        return question(#name, out, answer);                                                       \
    }
QUESTION(Solvane_CheckAndResetMepFlag, 0)
QUESTION(Solvane_CheckForcedBlackUpdate, 0)
QUESTION(Solvane_CheckCameraPower, 1)
QUESTION(Solvane_CheckAccessoriesPower, 1)

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
