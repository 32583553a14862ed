#include "timers.h"

NTSYSAPI NTSTATUS NTAPI ZwWaitForSingleObject(HANDLE handle, BOOLEAN alertable,
                                              LARGE_INTEGER* timeout);

struct timer {
    LIST_ENTRY link;
    FILE_OBJECT* owner;
    ULONGLONG id;
    LONGLONG period; /* 100 ns */
    HANDLE thread;
    KEVENT stop;
    IRP* waiting;       /* the pending wait for the next event; NULL: none */
    ULONG undelivered;  /* events that came due while no wait was pending */
    USHORT event_count; /* events delivered */
};

/* Guards the list of timers, their fields and the script. */
static KSPIN_LOCK lock;
static LIST_ENTRY timers;
static ULONGLONG last_id;
static solvane_device_script script;
static USHORT next_scripted;

static const ULONG tag = 0x766c6f53; /* "Solv" */
static const LONGLONG ticks_per_microsecond = 10;

void timers_init(void) {
    KeInitializeSpinLock(&lock);
    InitializeListHead(&timers);
}

void timers_script(const solvane_device_script* replacement) {
    KIRQL irql;
    KeAcquireSpinLock(&lock, &irql);
    script = *replacement;
    if (script.event_count > SOLVANE_DEVICE_MAX_EVENTS) {
        script.event_count = SOLVANE_DEVICE_MAX_EVENTS;
    }
    next_scripted = 0;
    KeReleaseSpinLock(&lock, irql);
}

BOOLEAN timers_take_failure(ULONG code, NTSTATUS* status) {
    KIRQL irql;
    BOOLEAN fails;
    KeAcquireSpinLock(&lock, &irql);
    fails = script.failing_code == code;
    if (fails) {
        *status = script.failure;
        script.failing_code = 0;
    }
    KeReleaseSpinLock(&lock, irql);
    return fails;
}

static timer* find(FILE_OBJECT* owner, ULONGLONG id) {
    LIST_ENTRY* entry;
    for (entry = timers.Flink; entry != &timers; entry = entry->Flink) {
        timer* candidate = CONTAINING_RECORD(entry, timer, link);
        if (candidate->owner == owner && candidate->id == id) {
            return candidate;
        }
    }
    return NULL;
}

/* Writes the timer's next event into a request's buffer. The caller holds the lock. */
static void fill_event(timer* of, IRP* irp) {
    solvane_timer_event* event = irp->AssociatedIrp.SystemBuffer;
    RtlZeroMemory(event, sizeof *event);
    of->event_count++;
    if (next_scripted < script.event_count) {
        const solvane_scripted_event* scripted = &script.events[next_scripted++];
        event->status = scripted->status;
        RtlCopyMemory(event->data, scripted->data, sizeof event->data);
    } else {
        event->data[0] = of->event_count;
    }
}

static void complete(IRP* irp, NTSTATUS status) {
    irp->IoStatus.Status = status;
    irp->IoStatus.Information = status == STATUS_SUCCESS ? sizeof(solvane_timer_event) : 0;
    IoCompleteRequest(irp, IO_NO_INCREMENT);
}

static void make_event(timer* due) {
    KIRQL irql;
    IRP* irp;
    KeAcquireSpinLock(&lock, &irql);
    irp = due->waiting;
    due->waiting = NULL;
    if (irp != NULL) {
        fill_event(due, irp);
    } else {
        due->undelivered++;
    }
    KeReleaseSpinLock(&lock, irql);
    if (irp != NULL) {
        complete(irp, STATUS_SUCCESS);
    }
}

/* An event is due one period after the previous one was due, so delays do not add up. */
static void NTAPI run(void* context) {
    timer* self = context;
    LARGE_INTEGER due;
    KeQuerySystemTime(&due);
    for (;;) {
        LARGE_INTEGER now;
        LARGE_INTEGER rest;
        due.QuadPart += self->period;
        KeQuerySystemTime(&now);
        rest.QuadPart = due.QuadPart > now.QuadPart ? now.QuadPart - due.QuadPart : 0;
        if (KeWaitForSingleObject(&self->stop, Executive, KernelMode, FALSE, &rest) !=
            STATUS_TIMEOUT) {
            break;
        }
        make_event(self);
    }
    PsTerminateSystemThread(STATUS_SUCCESS);
}

NTSTATUS timers_create(FILE_OBJECT* owner, ULONG microseconds, solvane_timer_created* created) {
    KIRQL irql;
    NTSTATUS status;
    timer* made;
    if (microseconds == 0) {
        return STATUS_INVALID_PARAMETER;
    }
    made = ExAllocatePoolWithTag(NonPagedPool, sizeof *made, tag);
    if (made == NULL) {
        return STATUS_INSUFFICIENT_RESOURCES;
    }
    RtlZeroMemory(made, sizeof *made);
    made->owner = owner;
    made->period = microseconds * ticks_per_microsecond;
    KeInitializeEvent(&made->stop, NotificationEvent, FALSE);

    RtlZeroMemory(created, sizeof *created);
    KeAcquireSpinLock(&lock, &irql);
    made->id = ++last_id;
    created->id = made->id;
    created->initial_status = script.initial_status;
    InsertTailList(&timers, &made->link);
    KeReleaseSpinLock(&lock, irql);

    status = PsCreateSystemThread(&made->thread, THREAD_ALL_ACCESS, NULL, NULL, NULL, run, made);
    if (status != STATUS_SUCCESS) {
        KeAcquireSpinLock(&lock, &irql);
        RemoveEntryList(&made->link);
        KeReleaseSpinLock(&lock, irql);
        ExFreePoolWithTag(made, tag);
    }
    return status;
}

/* The timer must be off the list already, so that only its own thread still uses it. */
static void destroy(timer* gone) {
    KeSetEvent(&gone->stop, IO_NO_INCREMENT, FALSE);
    ZwWaitForSingleObject(gone->thread, FALSE, NULL);
    ZwClose(gone->thread);
    if (gone->waiting != NULL) {
        complete(gone->waiting, STATUS_CANCELLED);
    }
    ExFreePoolWithTag(gone, tag);
}

NTSTATUS timers_delete(FILE_OBJECT* owner, ULONGLONG id) {
    KIRQL irql;
    timer* gone;
    KeAcquireSpinLock(&lock, &irql);
    gone = find(owner, id);
    if (gone != NULL) {
        RemoveEntryList(&gone->link);
    }
    KeReleaseSpinLock(&lock, irql);
    if (gone == NULL) {
        return STATUS_NOT_FOUND;
    }
    destroy(gone);
    return STATUS_SUCCESS;
}

void timers_delete_all_of(FILE_OBJECT* owner) {
    for (;;) {
        KIRQL irql;
        LIST_ENTRY* entry;
        timer* gone = NULL;
        KeAcquireSpinLock(&lock, &irql);
        for (entry = timers.Flink; entry != &timers && gone == NULL; entry = entry->Flink) {
            timer* candidate = CONTAINING_RECORD(entry, timer, link);
            if (candidate->owner == owner) {
                gone = candidate;
            }
        }
        if (gone != NULL) {
            RemoveEntryList(&gone->link);
        }
        KeReleaseSpinLock(&lock, irql);
        if (gone == NULL) {
            return;
        }
        destroy(gone);
    }
}

NTSTATUS timers_wait(FILE_OBJECT* owner, ULONGLONG id, IRP* irp) {
    KIRQL irql;
    NTSTATUS status;
    timer* of;
    KeAcquireSpinLock(&lock, &irql);
    of = find(owner, id);
    if (of == NULL) {
        status = STATUS_NOT_FOUND;
    } else if (of->waiting != NULL) {
        status = STATUS_DEVICE_BUSY;
    } else if (of->undelivered > 0) {
        of->undelivered--;
        fill_event(of, irp);
        status = STATUS_SUCCESS;
    } else {
        IoMarkIrpPending(irp);
        of->waiting = irp;
        status = STATUS_PENDING;
    }
    KeReleaseSpinLock(&lock, irql);
    return status;
}
