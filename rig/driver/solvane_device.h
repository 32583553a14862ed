/*
 * solvane_device.h - the requests of the rig's kernel driver.
 *
 * The driver stands in for the one that performs the camera's GPIO triggers: it generates the
 * events of periodic timers, each with the result of a trigger. SOLVANE_DEVICE_SCRIPT, which only
 * the stand-in has, sets what it reports next.
 */
#ifndef SOLVANE_DEVICE_H
#define SOLVANE_DEVICE_H

#include <stdint.h>

#define SOLVANE_DEVICE_CODE(function) (0x9C410000u | (function) << 2)

/* In: uint32_t, the period in microseconds. Out: solvane_timer_created. */
#define SOLVANE_DEVICE_CREATE SOLVANE_DEVICE_CODE(0x900u)
/* In: uint64_t, the timer's id. A pending wait of the timer ends with STATUS_CANCELLED. */
#define SOLVANE_DEVICE_DELETE SOLVANE_DEVICE_CODE(0x901u)
/* In: uint64_t, the timer's id. Out: solvane_timer_event. Completes when the next event is due. */
#define SOLVANE_DEVICE_WAIT SOLVANE_DEVICE_CODE(0x902u)
/* In: solvane_device_script, which replaces the previous one. Only the rig's driver has this. */
#define SOLVANE_DEVICE_SCRIPT SOLVANE_DEVICE_CODE(0x9F0u)

#define SOLVANE_DEVICE_MAX_EVENTS 32

#pragma pack(push, 1)

typedef struct solvane_timer_created {
    uint64_t id;             /* never 0, never reused */
    uint16_t initial_status; /* 0: all is well */
    uint8_t reserved[6];
} solvane_timer_created;

typedef struct solvane_timer_event {
    uint64_t reserved;
    int16_t status;   /* of the trigger; 0: it was given */
    uint16_t data[4]; /* unscripted: data[0] counts the timer's events from 1 */
    uint8_t reserved_too[6];
} solvane_timer_event;

typedef struct solvane_scripted_event {
    int16_t status;
    uint16_t data[4];
} solvane_scripted_event;

typedef struct solvane_device_script {
    uint32_t failing_code; /* the next request with this code fails ...; 0: none */
    int32_t failure;       /* ... with this NTSTATUS */
    uint16_t initial_status;
    uint16_t event_count; /* entries of `events`, reported one per event; after them, no fault */
    solvane_scripted_event events[SOLVANE_DEVICE_MAX_EVENTS];
} solvane_device_script;

#pragma pack(pop)

#endif /* SOLVANE_DEVICE_H */
