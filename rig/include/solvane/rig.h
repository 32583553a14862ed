/**
 * @file
 * The virtual hardware: a camera and the chips that its lines are wired to.
 *
 * The rig stands in for the vendor libraries (FTD2XX.dll, ...), so that a host program runs
 * unchanged with no hardware. A host needs nothing of this header for that: it sets the environment
 *
 *     SOLVANE_RIG=<file>      a scenario (TOML) that says which hardware there is, how the camera
 *                             behaves and what goes wrong; without it: one FT2232H, one camera
 *     SOLVANE_RIG=bench       the hardware is another process, `solvane-rig bench`
 *     SOLVANE_RIG_VCD=<file>  write the lines as a waveform (VCD) for GTKWave, PulseView, sigrok
 *     SOLVANE_RIG_JOURNAL=<file>  write every call, edge and event as a line of text
 *
 * and has the rig's DLLs put into its folder by `solvane-rig place`: on Windows the search path
 * comes after System32, where a vendor's DLL for real hardware may be. The functions below are for
 * tests.
 *
 * Rules of the whole interface
 *
 * 1. One installation per process. All vendor stand-ins of a process drive the same camera. All
 *    hosts on a bench (SOLVANE_RIG=bench) share one installation, and these functions concern it.
 * 2. Any thread may call anything here at any time; the rig locks itself.
 * 3. Times are nanoseconds since the scenario was loaded.
 * 4. Levels are logical: 1 means "active" (triggered, ready, flag latched, clearing, dark,
 *    powered), whatever polarity a chip's pin has.
 * 5. Text that the rig hands out stays valid until the next call of the same function on the same
 *    thread.
 */
#ifndef SOLVANE_RIG_H
#define SOLVANE_RIG_H

#include <stddef.h>
#include <stdint.h>

/** Import decoration. */
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

/** The lines of the camera. */
typedef enum rig_line {
    RIG_TRIGGER,           /**< host to camera */
    RIG_READY,             /**< camera to host */
    RIG_MEP,               /**< camera to host: the latched flag */
    RIG_CLEAR_MEP,         /**< host to camera */
    RIG_DARK,              /**< host to camera */
    RIG_CAMERA_POWER,      /**< host to camera */
    RIG_ACCESSORIES_POWER, /**< host to camera */
    RIG_LINE_COUNT         /**< how many there are */
} rig_line;

/* ---- The scenario -------------------------------------------------------------------------- */

/**
 * Replaces the whole virtual hardware by the one that a scenario describes and starts time, call
 * counts and journal afresh. Handles given out before become invalid. A waveform that is being
 * written goes on.
 *
 * @param toml the scenario's text. An empty one is a scenario without any hardware; NULL is the
 *     scenario of a process that names none: one FT2232H with the serial number "SLV1", one camera.
 * @return 0, or -1 when the text is no valid scenario: nothing has changed then, and rig_error()
 *     says what is wrong and where.
 */
SOLVANE_RIG_API int rig_load(const char* toml);

/**
 * The same from a file.
 *
 * @param path the file's name, in UTF-8.
 * @return as rig_load(); -1 also for a file that cannot be read.
 */
SOLVANE_RIG_API int rig_load_file(const char* path);

/**
 * Tells what was wrong with the last scenario.
 *
 * @return the complaint; empty after a good one.
 */
SOLVANE_RIG_API const char* rig_error(void);

/**
 * Tells which scenario the virtual hardware is of.
 *
 * @return the name of its file, in UTF-8; "default" when none is named, "given as text" after
 *     rig_load(), and "none" with a complaint when the one that the process names cannot be used.
 */
SOLVANE_RIG_API const char* rig_scenario(void);

/* ---- The lines ----------------------------------------------------------------------------- */

/**
 * Tells the name of a line.
 *
 * @param line one of the lines.
 * @return "trigger", "ready", "mep", "clear_mep", "dark", "camera_power", "accessories_power";
 *     empty for any other number.
 */
SOLVANE_RIG_API const char* rig_line_name(rig_line line);

/**
 * Tells the level of a line now.
 *
 * @param line one of the lines.
 * @return 1 or 0.
 */
SOLVANE_RIG_API int rig_level(rig_line line);

/**
 * Holds the ready line or the MEP flag at a level from now on, whatever the camera does.
 *
 * @param line RIG_READY or RIG_MEP.
 * @param level 1 or 0; -1 lets go of the line.
 * @return 0, or -1 for any other line.
 */
SOLVANE_RIG_API int rig_force(rig_line line, int level);

/**
 * Counts the captures that the camera has made: trigger edges while it was ready and powered.
 *
 * @return how many since the scenario began.
 */
SOLVANE_RIG_API uint32_t rig_captures(void);

/* ---- USB ----------------------------------------------------------------------------------- */

/**
 * Pulls the plug of a USB chip.
 *
 * @param chip counted from 0 in the order of the scenario.
 * @return 0, or -1 when the scenario has no such chip.
 */
SOLVANE_RIG_API int rig_unplug(unsigned chip);

/**
 * Puts the plug back.
 *
 * @param chip counted from 0 in the order of the scenario.
 * @return 0, or -1 when the scenario has no such chip.
 */
SOLVANE_RIG_API int rig_plug(unsigned chip);

/* ---- WMI ------------------------------------------------------------------------------------ */

/**
 * Counts the references to interfaces of the rig's WMI that the host holds: what QueryInterface,
 * AddRef and the calls that make objects gave it, less its Release calls. A scenario that is loaded
 * releases nothing.
 *
 * @return how many; 0 when everything was released.
 */
SOLVANE_RIG_API int rig_wbem_interfaces(void);

/* ---- Faults -------------------------------------------------------------------------------- */

/**
 * What a call does instead of working. Combine with |.
 *
 * RIG_FAULT_STATUS | RIG_FAULT_COUNT does what RIG_FAULT_COUNT does and returns `status`; a call
 * that moves or reports no number of anything works then, but returns `status`. RIG_FAULT_SILENT
 * cannot be combined. When several faults apply to a call, the one that was added first counts.
 */
enum {
    RIG_FAULT_STATUS = 1, /**< return `status`; nothing else happens, out-values stay untouched */
    RIG_FAULT_COUNT = 2,  /**< move or report `count` bytes or devices, not the true number */
    RIG_FAULT_SILENT = 4  /**< return success, but nothing happens, out-values stay untouched */
};

/** Calls that fail. */
typedef struct rig_fault {
    const char* function; /**< the vendor call by its name, or "*" for any call of any library */
    uint32_t call;        /**< the first call that fails, counted from 1 since the scenario began */
    uint32_t times;       /**< how many calls in a row fail; 0 = every one from then on */
    uint32_t kind;        /**< RIG_FAULT_... */
    uint32_t status;      /**< for RIG_FAULT_STATUS */
    uint32_t count;       /**< for RIG_FAULT_COUNT */
} rig_fault;

/**
 * Adds a fault.
 *
 * @param fault is copied, the function's name too.
 * @return 0, or -1 for a function that no vendor stand-in has, for `call` 0, and for a kind that is
 *     0 or not one of the combinations above.
 */
SOLVANE_RIG_API int rig_add_fault(const rig_fault* fault);

/** Lifts every fault, those of the scenario too. */
SOLVANE_RIG_API void rig_clear_faults(void);

/**
 * Counts the vendor calls since the scenario began.
 *
 * @param function the call's name; NULL or "*" counts all of them.
 * @return how often it was made.
 */
SOLVANE_RIG_API uint32_t rig_calls(const char* function);

/* ---- The journal --------------------------------------------------------------------------- */

/** What an entry of the journal tells of. */
typedef enum rig_entry_kind {
    RIG_CALL,  /**< "FT_Write(SLV1B, [82 41 4f]) -> 0, 3" */
    RIG_EDGE,  /**< "trigger 1" */
    RIG_EVENT, /**< "unplug 0", "capture 1", "ignored trigger", "fault FT_Write" */
    RIG_NOTE   /**< what rig_note() was given */
} rig_entry_kind;

/** One entry of the journal. */
typedef struct rig_entry {
    uint64_t time;       /**< ns */
    rig_entry_kind kind; /**< what it tells of */
    const char* text;    /**< as the examples of rig_entry_kind */
} rig_entry;

/**
 * Counts the entries since the scenario began or since rig_journal_clear(). The last 65,536 are
 * kept, counted from 0 again when older ones are dropped.
 *
 * @return how many there are.
 */
SOLVANE_RIG_API size_t rig_journal_size(void);

/**
 * Reads an entry of the journal.
 *
 * @param index counted from 0.
 * @param[out] entry the entry.
 * @return 0, or -1 when there is none.
 */
SOLVANE_RIG_API int rig_journal_entry(size_t index, rig_entry* entry);

/** Forgets the entries, not the call counts. */
SOLVANE_RIG_API void rig_journal_clear(void);

/**
 * Writes a line of the host's own into the journal, in its place among the calls.
 *
 * @param text the line.
 */
SOLVANE_RIG_API void rig_note(const char* text);

/* ---- Commands ------------------------------------------------------------------------------- */

/**
 * Does a command of solvane-rig, in the same words: "unplug 0", "set exposure_ms 80",
 * "fault FT_Write status=4", "levels", "wait-edge 'ready 1' --within 5000". "help" lists them.
 * Commands that wait return when their condition holds or their time is over; the rig is unlocked
 * for other threads meanwhile.
 *
 * @param words the command; quotes, single or double, hold words together. The caller reads and
 *     writes the files: "scenario NAME TEXT" takes the text of a scenario, and the answer to "keep"
 *     is the text of one.
 * @param json not 0: the answer is one JSON object.
 * @param[out] answer lines of text, until the next call on the same thread; NULL when nobody wants
 *     it.
 * @return 0; 1 when the command failed (no edge within the time, a pulse of another width, no
 *     memory, a bench that is gone); 2 for an unknown command or wrong arguments, and the answer
 *     then says what is allowed.
 */
SOLVANE_RIG_API int rig_command(const char* words, int json, const char** answer);

/* ---- Time and waveform --------------------------------------------------------------------- */

/**
 * Tells the rig's time now.
 *
 * @return ns.
 */
SOLVANE_RIG_API uint64_t rig_time(void);

/**
 * Starts writing the lines to a VCD file, from their levels now.
 *
 * @param path the file's name, in UTF-8; NULL ends the file that is being written.
 * @return 0, or -1 when the file cannot be opened.
 */
SOLVANE_RIG_API int rig_write_vcd(const char* path);

#ifdef __cplusplus
} /* extern "C" */
#endif

#endif /* SOLVANE_RIG_H */
