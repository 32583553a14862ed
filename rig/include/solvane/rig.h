/*
 * rig.h - the virtual hardware: a camera and the chips that its lines are wired to.
 *
 * The rig stands in for the vendor libraries (FTD2XX.dll, ...), so that a host program runs
 * unchanged with no hardware. A host needs nothing of this header for that: it sets the environment
 *
 *     SOLVANE_RIG=<file>      a scenario (TOML) that says which hardware there is, how the camera
 *                             behaves and what goes wrong; without it: one FT2232H, one camera
 *     SOLVANE_RIG_VCD=<file>  write the lines as a waveform (VCD) for GTKWave, PulseView, sigrok
 *     SOLVANE_RIG_JOURNAL=<file>  write every call, edge and event as a line of text
 *
 * and puts the rig's directory on the DLL search path. Tests use the functions below besides.
 *
 * Rules of the whole interface
 *
 * 1. One installation a process. All vendor stand-ins of a process drive the same camera.
 * 2. Any thread may call anything here at any time; the rig locks itself.
 * 3. Times are nanoseconds since the scenario was loaded.
 * 4. Levels are logical: 1 means "active" (triggered, ready, flag latched, clearing, dark,
 * powered), whatever polarity a chip's pin has.
 * 5. Text that the rig hands out stays valid until the next call of the same function on the same
 *    thread.
 */
#ifndef SOLVANE_RIG_H
#define SOLVANE_RIG_H

#include <stddef.h>
#include <stdint.h>

#if defined(_WIN32) && defined(SOLVANE_RIG_BUILDING)
#define SOLVANE_RIG_API __declspec(dllexport)
#elif defined(_WIN32)
#define SOLVANE_RIG_API __declspec(dllimport)
#else
#define SOLVANE_RIG_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* The lines of the camera. */
typedef enum rig_line {
    RIG_TRIGGER,           /* host to camera */
    RIG_READY,             /* camera to host */
    RIG_MEP,               /* camera to host: the latched flag */
    RIG_CLEAR_MEP,         /* host to camera */
    RIG_DARK,              /* host to camera */
    RIG_CAMERA_POWER,      /* host to camera */
    RIG_ACCESSORIES_POWER, /* host to camera */
    RIG_LINE_COUNT
} rig_line;

/* ---- The scenario -------------------------------------------------------------------------- */

/*
 * Replaces the whole virtual hardware by the one that a scenario describes and starts time, call
 * counts and journal afresh. Handles given out before become invalid. A waveform that is being
 * written goes on.
 *
 * An empty text is a scenario without any hardware; NULL is the scenario of a process that names
 * none: one FT2232H with the serial number "SLV1", one camera.
 *
 * Returns 0, or -1 when the text is no valid scenario: nothing has changed then, and rig_error()
 * says what is wrong and where.
 */
SOLVANE_RIG_API int rig_load(const char* toml);

/* The same from a file. */
SOLVANE_RIG_API int rig_load_file(const char* path);

/* What was wrong with the last scenario; empty after a good one. */
SOLVANE_RIG_API const char* rig_error(void);

/* ---- The lines ----------------------------------------------------------------------------- */

/* "trigger", "ready", "mep", "clear_mep", "dark", "camera_power", "accessories_power". */
SOLVANE_RIG_API const char* rig_line_name(rig_line line);

/* The level of a line now: 1 or 0. */
SOLVANE_RIG_API int rig_level(rig_line line);

/*
 * Holds the ready line or the MEP flag at a level from now on, whatever the camera does;
 * -1 lets go of it. Other lines cannot be forced and answer -1, otherwise the result is 0.
 */
SOLVANE_RIG_API int rig_force(rig_line line, int level);

/* How many captures the camera has made: trigger edges while it was ready and powered. */
SOLVANE_RIG_API uint32_t rig_captures(void);

/* ---- USB ----------------------------------------------------------------------------------- */

/*
 * Pulls the plug of a USB chip (counted from 0 in the order of the scenario) or puts it back.
 * Returns 0, or -1 when the scenario has no such chip.
 */
SOLVANE_RIG_API int rig_unplug(unsigned chip);
SOLVANE_RIG_API int rig_plug(unsigned chip);

/* ---- WMI ------------------------------------------------------------------------------------ */

/*
 * How many references to interfaces of the rig's WMI the host holds: what QueryInterface, AddRef
 * and the calls that make objects gave it, less its Release calls. 0 when everything was released.
 * A scenario that is loaded releases nothing.
 */
SOLVANE_RIG_API int rig_wbem_interfaces(void);

/* ---- Faults -------------------------------------------------------------------------------- */

/* What a call does instead of working. Combine with |. */
enum {
    RIG_FAULT_STATUS = 1, /* return `status`; nothing else happens, out-values stay untouched */
    RIG_FAULT_COUNT = 2,  /* move or report `count` bytes or devices instead of the true number */
    RIG_FAULT_SILENT = 4  /* return success, but nothing happens and out-values stay untouched */
};

/*
 * RIG_FAULT_STATUS | RIG_FAULT_COUNT does what RIG_FAULT_COUNT does and returns `status`; a call
 * that moves or reports no number of anything works then, but returns `status`. RIG_FAULT_SILENT
 * stands alone. When several faults apply to a call, the one that was added first is meant.
 */

typedef struct rig_fault {
    const char* function; /* the vendor call by its name, or "*" for any call of any front */
    uint32_t call;        /* the first call that fails, counted from 1 since the scenario began */
    uint32_t times;       /* how many calls in a row fail; 0 = every one from then on */
    uint32_t kind;        /* RIG_FAULT_... */
    uint32_t status;
    uint32_t count;
} rig_fault;

/*
 * Adds a fault; the function's name is copied. Returns 0, or -1 for a function that no vendor
 * stand-in has, for `call` 0, and for a kind that is 0 or not one of the combinations above.
 */
SOLVANE_RIG_API int rig_add_fault(const rig_fault* fault);

/* Lifts every fault, those of the scenario too. */
SOLVANE_RIG_API void rig_clear_faults(void);

/* How often a vendor call was made since the scenario began; NULL or "*" counts all of them. */
SOLVANE_RIG_API uint32_t rig_calls(const char* function);

/* ---- The journal --------------------------------------------------------------------------- */

typedef enum rig_entry_kind {
    RIG_CALL,  /* "FT_Write(SLV1B, [82 41 4f]) -> 0, 3" */
    RIG_EDGE,  /* "trigger 1" */
    RIG_EVENT, /* "unplug 0", "capture 1", "fault FT_Write" */
    RIG_NOTE   /* what rig_note() was given */
} rig_entry_kind;

typedef struct rig_entry {
    uint64_t time; /* ns */
    rig_entry_kind kind;
    const char* text;
} rig_entry;

/*
 * How many entries there are since the scenario began or since rig_journal_clear(). The last 65,536
 * are kept, counted from 0 again when older ones are dropped.
 */
SOLVANE_RIG_API size_t rig_journal_size(void);

/* Entry `index`, from 0; returns 0, or -1 when there is none. */
SOLVANE_RIG_API int rig_journal_entry(size_t index, rig_entry* entry);

/* Forgets the entries, not the call counts. */
SOLVANE_RIG_API void rig_journal_clear(void);

/* Writes a line of the host's own into the journal, in its place among the calls. */
SOLVANE_RIG_API void rig_note(const char* text);

/* ---- Time and waveform --------------------------------------------------------------------- */

/* The rig's time now. */
SOLVANE_RIG_API uint64_t rig_time(void);

/*
 * Starts writing the lines to a VCD file, from their levels now; NULL ends the file that is being
 * written. Returns 0, or -1 when the file cannot be opened.
 */
SOLVANE_RIG_API int rig_write_vcd(const char* path);

#ifdef __cplusplus
} /* extern "C" */
#endif

#endif /* SOLVANE_RIG_H */
