/* Timers of the rig's kernel driver. Each has a thread that generates its events. */
#ifndef SOLVANE_TIMERS_H
#define SOLVANE_TIMERS_H

#include <ntddk.h>

#include "solvane_device.h"

typedef struct timer timer;

void timers_init(void);

/* Sets what the next requests and events report. */
void timers_script(const solvane_device_script* script);

/* Whether the script makes this request fail. A scripted failure happens only once. */
BOOLEAN timers_take_failure(ULONG code, NTSTATUS* status);

NTSTATUS timers_create(FILE_OBJECT* owner, ULONG microseconds, solvane_timer_created* created);

/* Ends the timer's thread; a pending wait ends with STATUS_CANCELLED. */
NTSTATUS timers_delete(FILE_OBJECT* owner, ULONGLONG id);

/* Deletes every timer of a handle that is being closed. */
void timers_delete_all_of(FILE_OBJECT* owner);

/*
 * Completes a wait at once when an event is due already, else keeps it pending. The result is the
 * status for the dispatch function; a pending request is completed later by the timer.
 */
NTSTATUS timers_wait(FILE_OBJECT* owner, ULONGLONG id, IRP* irp);

#endif /* SOLVANE_TIMERS_H */
