/**
 * @file
 * The C interface of Solvane.dll, the only header that a host needs.
 *
 * Solvane drives the electrical lines round a camera: it triggers a capture, wakes the camera,
 * switches camera power and accessories power, forces the picture dark, and reads back
 * "system ready" and the latched MEP flag. It finds by itself which hardware carries the lines: a
 * parallel port, the GPIO bank of a mainboard's Super I/O chip, GPIO pins behind the PICMG Embedded
 * API, or an FTDI FT2232H, looked for in this order.
 *
 * Rules of the whole interface
 *
 * 1. One thread at a time. Nothing here is locked: a host calls these functions from one thread,
 *    or makes sure that no two calls overlap. There are two exceptions. The very first call may
 *    come from several threads at once; all but one of them wait until the hardware was looked for.
 *    And timers run on threads of their own (see SolvaneTimerHandle).
 *
 * 2. Every function but those of timers is synchronous: it returns when the lines have their new
 *    levels. The times given below are those of a healthy FT2232H with a 1 ms timer; "ms" are
 *    wall-clock milliseconds. An operation that meets a fault first tries to recover the chip,
 *    which can take a little over 3 s before it gives up, and a trigger may need several
 *    recoveries. On the other hardware nothing takes time but the 10 ms of the pulses, and nothing
 *    is recovered.
 *
 * 3. Statuses. A function that returns a value returns one of the SOLVANE_ statuses below, and 0
 *    (SOLVANE_OK) is success. Test for "not 0", not for single numbers you know: which numbers an
 *    operation can return depends on the hardware that serves it. On a parallel port whose port
 *    driver (InpOut) is not open, every operation answers SOLVANE_E_WRITE.
 *
 * 4. First use finds the hardware. The first call of any function except Solvane_SetLogger and the
 *    timer functions looks for the hardware, brings it up and sets the lines to rest (trigger low,
 *    clear-MEP at rest; a mainboard also gets camera and accessories power on and dark off). Asking
 *    Windows for a parallel port can take some tenths of a second, configuring an FT2232H about
 *    60 ms. Later calls configure again by themselves when the hardware was lost in between, or was
 *    not there; a parallel port is looked for once, and again by Solvane_RecheckStatus only.
 *
 * 5. Out-values. A function that answers a question takes a pointer to an int16_t that it sets to
 *    1 (yes) or 0 (no). The pointer is used during the call only. A null pointer is answered with
 *    SOLVANE_E_INVALID, but only after the hardware was found: without hardware the answer is
 *    SOLVANE_E_NO_HARDWARE. When the status is not 0 nothing was written.
 *
 * 6. Lost reads. A question whose line cannot be read still returns 0. Power questions then answer
 *    1 (on), all other questions 0 (not ready, not dark, no flag): a camera whose power is unknown
 *    must be taken as powered. The Super I/O chip is the exception, where unknown camera power
 *    answers 0. On a parallel port lost reads cannot be distinguished from others.
 *
 * 7. Calls from inside. From inside its log function a host may call Solvane_SetLogger, the timer
 *    functions for a timer that does not run, and Solvane_StopTimer for one that does. From inside
 *    a timer's function it may call everything, but for that timer only Solvane_StopTimer. The line
 *    that the log function is given stays as it is until it returns; what is logged from inside it
 *    is appended to that text. The rest is a host's mistake:
 *    - A function that needs the hardware, from inside the log function during the first such call
 *      of the process: it waits for that call, for ever.
 *    - Solvane_RecheckStatus and Solvane_EnforceFTDI from inside the log function during a function
 *      of the lines: that function continues with an object that was deleted.
 *    - Other functions of the lines from there: they take effect in the middle of that
 *      function, which can then fail or find its work undone. Solvane_CloseDevice in a trigger
 *      leaves the trigger line high (the trigger answers SOLVANE_E_WRITE). Two calls that open the
 *      chip at once leave it SOLVANE_E_NO_HARDWARE until Solvane_RecheckStatus.
 *    - Unloading the library: the hardware is closed, and the call returns into unloaded code.
 *    Timers log on their own threads: with timers in use, several threads can be in the log
 *    function at once.
 *
 * 8. No C++ exception of the library's own crosses this interface, save one: if there is no memory
 *    for the few bytes of a controller object, std::bad_alloc leaves the call that creates it, and
 *    the next call starts afresh. Only the very first call, Solvane_RecheckStatus and
 *    Solvane_EnforceFTDI create one, and no line is in mid-pulse then. Every other step that finds
 *    no memory fails as it fails otherwise: a search finds no hardware
 *    (SOLVANE_E_NO_HARDWARE), a timer function answers SOLVANE_E_UNDETERMINED, a long log line is
 *    cut short. (In a process that gets no memory at all, mingw-w64's run-time library cannot throw
 *    and ends it.)
 *
 * The header is clean C89 (with stdint.h) and C++.
 */
#ifndef SOLVANE_SOLVANE_H
#define SOLVANE_SOLVANE_H

#include <stdint.h>

/** The version of this header and of the Solvane.dll that it came with. */
#define SOLVANE_VERSION "100.1.0.1"

/** Calling convention of every function and callback. It has a meaning on 32-bit Windows only. */
#if defined(_WIN32)
#define SOLVANE_CALL __stdcall
#else
#define SOLVANE_CALL
#endif

/**
 * Import decoration. Define SOLVANE_NO_IMPORT before including this header to get plain
 * declarations, for instance to take function types for GetProcAddress.
 */
#if defined(_WIN32) && !defined(SOLVANE_NO_IMPORT)
#define SOLVANE_API __declspec(dllimport)
#else
#define SOLVANE_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Statuses ------------------------------------------------------------------------------ */

/** The lines did what was asked. */
#define SOLVANE_OK 0
/** The state asked for could not be determined; a timer function met a failure. */
#define SOLVANE_E_UNDETERMINED (-1)
/** A line could not be written, or a step of the serial-channel reset failed. */
#define SOLVANE_E_WRITE (-2)
/** The hardware was not found, or could not be opened and configured. */
#define SOLVANE_E_NO_HARDWARE (-3)
/** A null pointer, or a timer that is not there or not running. */
#define SOLVANE_E_INVALID (-4)
/** A trigger was refused because the system is not ready (or its ready line cannot be read). */
#define SOLVANE_E_NOT_READY (-5)

/* ---- Logging ------------------------------------------------------------------------------- */

/**
 * The host's log function.
 *
 * Called on the thread that called the library, in the middle of an operation: return quickly, for
 * a line may be in mid-pulse meanwhile. Rule 7 says what may be called from here. Let no
 * exception out: it passes through the function of the library and leaves the lines where they are,
 * the trigger perhaps high; while hardware is released it ends the process. A std::exception ends
 * a timer's run, and turns the answer of Solvane_StopTimer into SOLVANE_E_UNDETERMINED.
 *
 * @param context the pointer given to Solvane_SetLogger, untouched.
 * @param line one line of text, zero-terminated, without a line break at its end, beginning with
 *     the local time as "[14:03:07.042] "; or empty. After a write that was cut short there is a
 *     line break inside. Narrow characters. Valid only during the call.
 */
typedef void(SOLVANE_CALL* SolvaneLogCallback)(void* context, const char* line);

/**
 * Installs the host's log function, or with a null `callback` stops logging.
 *
 * - Lines: none. Does not look for hardware.
 * - Pointers: both are kept until the next call of this function or until the library is
 *   unloaded: the unload itself logs, so keep the function callable until then or remove it first.
 * - Threads: never while another call is in progress.
 * - Time: no waiting. Without a log function lines are lost, not kept: install it before the first
 *   other call to see how the hardware was chosen.
 *
 * @param context handed back with every line and never looked at; may be null.
 * @param callback the host's log function; null stops logging.
 */
SOLVANE_API void SOLVANE_CALL Solvane_SetLogger(void* context, SolvaneLogCallback callback);

/* ---- Finding the hardware ------------------------------------------------------------------ */

/**
 * Tells whether the hardware is there and configured, and configures it if it is not.
 *
 * - Lines: none when configured already. Otherwise they are set to rest: trigger low, clear-MEP at
 *   rest. Dark and power stay as they are on the FT2232H and the parallel port; on a mainboard both
 *   powers go on and dark goes off.
 * - Time: none when configured already, about 60 ms when it configures.
 *
 * @return SOLVANE_OK, SOLVANE_E_NO_HARDWARE, SOLVANE_E_WRITE (the port driver of a parallel port is
 *     not open; or a mainboard's line could not be set to rest, which is reported once).
 */
SOLVANE_API int16_t SOLVANE_CALL Solvane_CheckAvailable(void);

/**
 * Tells whether camera and accessories power can be switched.
 *
 * The same as Solvane_CheckAvailable on the FT2232H and on mainboards, in lines, statuses and time.
 * On a parallel port it tells whether the power interface is wired. The power functions drive their
 * lines in any case.
 *
 * @return as Solvane_CheckAvailable; on a parallel port SOLVANE_OK, SOLVANE_E_NO_HARDWARE if the
 *     power interface is not wired, SOLVANE_E_UNDETERMINED if the port itself is not usable.
 */
SOLVANE_API int16_t SOLVANE_CALL Solvane_CheckPowerControlAvailable(void);

/**
 * Looks for the hardware again, from the first kind, and keeps the first that answers.
 *
 * - Lines: the present hardware is released; what is found is configured afresh, which sets the
 *   lines to rest (see Solvane_CheckAvailable). When nothing is found the FT2232H stays chosen and
 *   every later operation looks for it once more.
 * - Time: as the first use. As the very first call it looks twice.
 * - Threads: never while another call is in progress: the object behind the call is replaced.
 *
 * @return SOLVANE_OK when some hardware answered, else the status of the last kind tried.
 */
SOLVANE_API int16_t SOLVANE_CALL Solvane_RecheckStatus(void);

/**
 * Chooses the FT2232H, whether it is there or not, until the next Solvane_RecheckStatus.
 *
 * Lines, time and threads as Solvane_RecheckStatus. Returns nothing: ask Solvane_CheckAvailable.
 */
SOLVANE_API void SOLVANE_CALL Solvane_EnforceFTDI(void);

/* ---- Capture ------------------------------------------------------------------------------- */

/**
 * Triggers one capture.
 *
 * - Lines: refuses, touching nothing, unless "system ready" is active. Clears a latched MEP flag
 *   first with one short pulse on clear-MEP. Then drives the trigger line high for 10 ms (at a
 *   system timer resolution of 1 ms, raised for this call only) and low again. On the FT2232H the
 *   line is high for 12 ms: the 2 ms that a write takes to settle come first.
 * - Time: about 18 ms; 4 ms more when a flag is cleared.
 *
 * @return SOLVANE_OK, SOLVANE_E_NOT_READY, SOLVANE_E_NO_HARDWARE, SOLVANE_E_WRITE (the trigger may
 *     have been given, and its line may have stayed high when the write that lowers it was the one
 *     that failed: Solvane_RecheckStatus sets the lines to rest).
 */
SOLVANE_API int16_t SOLVANE_CALL Solvane_TriggerCapture(void);

/**
 * Asks whether the system is ready for a trigger.
 *
 * - Lines: none driven.
 * - Time: about 2 ms.
 *
 * @param[out] ready becomes 1 or 0.
 * @return SOLVANE_OK, SOLVANE_E_NO_HARDWARE, SOLVANE_E_INVALID.
 */
SOLVANE_API int16_t SOLVANE_CALL Solvane_CheckSystemReady(int16_t* ready);

/**
 * Asks whether the MEP flag is latched, and clears it if it is.
 *
 * - Lines: one short pulse on clear-MEP when the flag is latched, none otherwise. `*flag` is 1 even
 *   when that pulse could not be given: ask again to see whether the latch let go.
 * - Time: about 2 ms; 4 ms more when the flag is cleared.
 *
 * @param[out] flag becomes 1 or 0.
 * @return SOLVANE_OK, SOLVANE_E_NO_HARDWARE, SOLVANE_E_INVALID.
 */
SOLVANE_API int16_t SOLVANE_CALL Solvane_CheckAndResetMepFlag(int16_t* flag);

/**
 * Wakes the camera: the dark line is inverted for 10 ms.
 *
 * - Lines: the dark line only, and it ends as it was. There is no wake line of its own: a camera
 *   that shows a picture sees a short dark pulse.
 * - Time: about 18 ms. The timer resolution is left alone, so a coarse system timer (15.6 ms)
 *   lengthens the pulse.
 *
 * @return SOLVANE_OK, SOLVANE_E_NO_HARDWARE, SOLVANE_E_WRITE.
 */
SOLVANE_API int16_t SOLVANE_CALL Solvane_WakeCamera(void);

/* ---- Forced black update (dark) ------------------------------------------------------------ */

/**
 * Switches the forced black update on: the dark line goes high and stays.
 *
 * - Time: about 2 ms.
 *
 * @return SOLVANE_OK, SOLVANE_E_NO_HARDWARE, SOLVANE_E_WRITE.
 */
SOLVANE_API int16_t SOLVANE_CALL Solvane_EnableForcedBlackUpdate(void);

/**
 * Switches the forced black update off: the dark line goes low. Otherwise as the call above.
 *
 * @return SOLVANE_OK, SOLVANE_E_NO_HARDWARE, SOLVANE_E_WRITE.
 */
SOLVANE_API int16_t SOLVANE_CALL Solvane_DisableForcedBlackUpdate(void);

/**
 * Asks for the level of the dark line.
 *
 * - Lines: none driven. The line itself is read back, not remembered.
 * - Time: about 2 ms.
 *
 * @param[out] on becomes 1 or 0.
 * @return SOLVANE_OK, SOLVANE_E_NO_HARDWARE, SOLVANE_E_INVALID.
 */
SOLVANE_API int16_t SOLVANE_CALL Solvane_CheckForcedBlackUpdate(int16_t* on);

/* ---- Power --------------------------------------------------------------------------------- */

/**
 * Switches camera power on.
 *
 * - Lines: camera power only.
 * - Time: about 2 ms, which does not include the camera's own start.
 *
 * @return SOLVANE_OK, SOLVANE_E_NO_HARDWARE, SOLVANE_E_WRITE.
 */
SOLVANE_API int16_t SOLVANE_CALL Solvane_EnableCameraPower(void);

/**
 * Switches camera power off. Otherwise as Solvane_EnableCameraPower.
 *
 * @return SOLVANE_OK, SOLVANE_E_NO_HARDWARE, SOLVANE_E_WRITE.
 */
SOLVANE_API int16_t SOLVANE_CALL Solvane_DisableCameraPower(void);

/**
 * Asks whether camera power is on.
 *
 * - Lines: none driven. The line itself is read back; on a parallel port, what it was set to. (On a
 *   Super I/O chip a line that cannot be read answers 0.)
 * - Time: about 2 ms.
 *
 * @param[out] on becomes 1 or 0, and 1 when the line cannot be read.
 * @return SOLVANE_OK, SOLVANE_E_NO_HARDWARE, SOLVANE_E_INVALID.
 */
SOLVANE_API int16_t SOLVANE_CALL Solvane_CheckCameraPower(int16_t* on);

/**
 * Switches accessories power on.
 *
 * - Lines: accessories power only.
 * - Time: about 2 ms.
 *
 * @return SOLVANE_OK, SOLVANE_E_NO_HARDWARE, SOLVANE_E_WRITE.
 */
SOLVANE_API int16_t SOLVANE_CALL Solvane_EnableAccessoriesPower(void);

/**
 * Switches accessories power off. Otherwise as Solvane_EnableAccessoriesPower.
 *
 * @return SOLVANE_OK, SOLVANE_E_NO_HARDWARE, SOLVANE_E_WRITE.
 */
SOLVANE_API int16_t SOLVANE_CALL Solvane_DisableAccessoriesPower(void);

/**
 * Asks whether accessories power is on.
 *
 * - Lines: none driven. On the FT2232H the line itself is read back, on a parallel port what it was
 *   set to; on a mainboard the answer is the last command that succeeded.
 * - Time: about 2 ms.
 *
 * @param[out] on becomes 1 or 0, and 1 when the line cannot be read.
 * @return SOLVANE_OK, SOLVANE_E_NO_HARDWARE, SOLVANE_E_INVALID.
 */
SOLVANE_API int16_t SOLVANE_CALL Solvane_CheckAccessoriesPower(int16_t* on);

/* ---- The device itself --------------------------------------------------------------------- */

/**
 * Closes the hardware, so that another program may use it. The next operation opens it again.
 *
 * - Lines: they keep their levels while the chip stays powered.
 * - Time: no waiting. Does nothing on hardware other than the FT2232H.
 *
 * @return SOLVANE_OK always.
 */
SOLVANE_API int16_t SOLVANE_CALL Solvane_CloseDevice(void);

/**
 * Resets the serial channel (channel A) of the FT2232H, the COM port beside the camera lines.
 *
 * - Lines: none.
 * - Time: no waiting.
 *
 * @return SOLVANE_OK; SOLVANE_E_NO_HARDWARE when no such channel is there; SOLVANE_E_WRITE when it
 *     could not be opened (another program holds the COM port), reset or closed. Always SOLVANE_OK,
 *     doing nothing, on hardware other than the FT2232H.
 */
SOLVANE_API int16_t SOLVANE_CALL Solvane_ResetComPort(void);

/* ---- Timers -------------------------------------------------------------------------------- */

/**
 * A timer; never 0.
 *
 * Timers run in Solvane's kernel driver, which performs a GPIO trigger of its own at each event and
 * reports how it went. They need the driver, and none of the hardware above: no timer function
 * looks for hardware or touches its lines.
 *
 * Order: Solvane_CreateTimer; then any number of runs, each Solvane_RunTimer until it is stopped;
 * then Solvane_DisposeTimer once, after the last run has returned.
 *
 * Threads: a run occupies the thread that called it, and the timer's function is called on that
 * same thread. Solvane_StopTimer may be called from any thread or from inside the timer's function.
 * Each timer belongs to one run at a time; several timers may run on several threads. The log
 * function is then called from each of them, unsynchronised: let it be able to, or install none.
 * The host orders all else by itself, for instance by joining the run's thread.
 *
 * Mistakes of a host, which the library cannot detect, and their consequences:
 * - Dispose during a run: the run continues with freed memory and a closed driver handle. It
 *   crashes at its next event, or waits for ever for one that no longer comes.
 * - Stop racing with dispose (a stop that has not returned when the timer is disposed of, or that
 *   comes later): it reads freed memory, and may write a 0 into it. Nothing, a damaged heap
 *   or a crash.
 * - Two runs of one handle at once: both call the function of the later one and wait for its driver
 *   timer, and the first one's timer triggers until the handle is disposed of; one stop is for
 * both. When one of them returns, the other has no function any more: it crashes at its next event,
 *   unless it was stopped, and may wait for ever for that event.
 * - Unload during a run: the run returns into unloaded code. It crashes at its next event.
 *   An unload disposes of no timer: each keeps its driver handle until the process ends.
 * - A number that is not, or no longer, a timer's handle: it is taken for an address. Only 0 is
 *   recognised.
 */
typedef uint64_t SolvaneTimerHandle;

/** One event of a timer, 12 bytes. */
typedef struct SolvaneTimerEvent {
    /**
     * How the driver's trigger went: SOLVANE_OK, SOLVANE_E_NOT_READY, SOLVANE_E_WRITE,
     * SOLVANE_E_NO_HARDWARE, or SOLVANE_E_UNDETERMINED for a status that this library does not
     * know.
     */
    int16_t status;
    /** 1 if the driver said at the start of the run that all was well, else 0. */
    uint16_t initialStatusOk;
    /** The first of four words of the driver's, whose meaning is the driver's. */
    uint16_t data0;
    uint16_t data1; /**< the second */
    uint16_t data2; /**< the third */
    uint16_t data3; /**< the fourth */
} SolvaneTimerEvent;

/**
 * The host's timer function, called once for every event.
 *
 * Called on the thread in Solvane_RunTimer, which waits for the next event when it has returned. In
 * C++, a std::exception that leaves it ends the run, which then returns SOLVANE_E_UNDETERMINED;
 * any other exception passes through the run.
 *
 * @param userContext the value given to Solvane_CreateTimer.
 * @param event valid only during the call.
 */
typedef void(SOLVANE_CALL* SolvaneTimerCallback)(uint64_t userContext,
                                                 const SolvaneTimerEvent* event);

/**
 * Opens the driver and creates a timer, which does not run yet.
 *
 * @param[out] timer becomes the handle; untouched unless the status is 0.
 * @param userContext handed to the timer's function with every event and never looked at.
 * @return SOLVANE_OK; SOLVANE_E_UNDETERMINED when the driver cannot be opened, with the system's
 *     reason in the log; SOLVANE_E_INVALID for a null pointer.
 */
SOLVANE_API int16_t SOLVANE_CALL Solvane_CreateTimer(SolvaneTimerHandle* timer,
                                                     uint64_t userContext);

/**
 * Runs a timer: blocks, and calls `callback` for each event, until the timer is stopped.
 *
 * @param timer from Solvane_CreateTimer.
 * @param timerParameter passed to the driver as it is; its unit is the driver's.
 * @param callback the host's timer function.
 * @return SOLVANE_OK after a stop; SOLVANE_E_UNDETERMINED when the driver, an event or a wait
 *     failed, with the reason in the log: the timer may be run again or disposed of;
 *     SOLVANE_E_INVALID for a handle of 0 or a null function.
 */
SOLVANE_API int16_t SOLVANE_CALL Solvane_RunTimer(SolvaneTimerHandle timer, uint32_t timerParameter,
                                                  SolvaneTimerCallback callback);

/**
 * Asks a running timer to stop, and returns at once: it does not wait for the run to end. From
 * inside the timer's function the run ends when that returns. From another thread it ends at the
 * driver's next event, which is not delivered any more. A stop that comes while a run is still
 * asking the driver for its timer is lost: stop after the first event, or stop again.
 * A stop that comes just as a run ends returns SOLVANE_OK as well. If that timer is run
 * again before the stop has returned, it may end the new run instead: start a run when the stops of
 * the last one have returned.
 *
 * @param timer from Solvane_CreateTimer.
 * @return SOLVANE_OK; SOLVANE_E_INVALID for a handle of 0 or a timer that does not run.
 */
SOLVANE_API int16_t SOLVANE_CALL Solvane_StopTimer(SolvaneTimerHandle timer);

/**
 * Deletes a timer and closes its driver handle. Never call it during a run: it does not wait, and
 * the run would continue with freed memory. Stop the timer and let Solvane_RunTimer return
 * first.
 *
 * If the driver refuses to delete a timer that a failed run left behind, the process ends: the
 * driver would go on triggering with nobody to stop it.
 *
 * @param timer from Solvane_CreateTimer; invalid afterwards.
 * @return SOLVANE_OK; SOLVANE_E_INVALID for a handle of 0. The log says that the timer was not
 *     started; that is no error here.
 */
SOLVANE_API int16_t SOLVANE_CALL Solvane_DisposeTimer(SolvaneTimerHandle timer);

#ifdef __cplusplus
} /* extern "C" */
#endif

#endif /* SOLVANE_SOLVANE_H */
