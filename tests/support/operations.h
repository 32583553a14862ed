/// What a host can ask of the library, as the one table of the tests. C reads it too.
#pragma once

#include <solvane/rig.h>

/// How an operation can end besides success: bit n is the status -n.
enum {
    NEVER_FAILS = 0,
    UNDETERMINED = 1 << 1,
    WRITE = 1 << 2,
    NO_HARDWARE = 1 << 3,
    INVALID = 1 << 4,
    NOT_READY = 1 << 5,
    GATED = NO_HARDWARE | 1 << 15 /* it first sees to it that the hardware is there */
};

enum { NO_LINE = RIG_LINE_COUNT };

/// COMMAND takes nothing and returns a status. QUESTION takes a place for the answer and returns a
/// status. ORDER takes and returns nothing. The order is that of the controllers' dispatch; what the
/// exports alone have comes last.
///
/// Behind the name: how it can fail, the line that it is about, and the level that it leaves the line
/// at, or the answer where nothing was done to the lines yet.
#define SOLVANE_OPERATIONS(COMMAND, QUESTION, ORDER)                                               \
    COMMAND(CheckAvailable, GATED, NO_LINE, 0)                                                     \
    COMMAND(CheckPowerControlAvailable, GATED | UNDETERMINED, NO_LINE, 0)                          \
    COMMAND(TriggerCapture, GATED | WRITE | NOT_READY, RIG_TRIGGER, 0)                             \
    COMMAND(EnableForcedBlackUpdate, GATED | WRITE, RIG_DARK, 1)                                   \
    COMMAND(DisableForcedBlackUpdate, GATED | WRITE, RIG_DARK, 0)                                  \
    QUESTION(CheckAndResetMepFlag, GATED | INVALID, RIG_MEP, 0)                                    \
    QUESTION(CheckSystemReady, GATED | INVALID, RIG_READY, 1)                                      \
    QUESTION(CheckForcedBlackUpdate, GATED | INVALID, RIG_DARK, 0)                                 \
    COMMAND(WakeCamera, GATED | WRITE, RIG_DARK, 0)                                                \
    COMMAND(EnableCameraPower, GATED | WRITE, RIG_CAMERA_POWER, 1)                                 \
    COMMAND(DisableCameraPower, GATED | WRITE, RIG_CAMERA_POWER, 0)                                \
    QUESTION(CheckCameraPower, GATED | INVALID, RIG_CAMERA_POWER, 1)                               \
    COMMAND(EnableAccessoriesPower, GATED | WRITE, RIG_ACCESSORIES_POWER, 1)                       \
    COMMAND(DisableAccessoriesPower, GATED | WRITE, RIG_ACCESSORIES_POWER, 0)                      \
    QUESTION(CheckAccessoriesPower, GATED | INVALID, RIG_ACCESSORIES_POWER, 1)                     \
    COMMAND(CloseDevice, NEVER_FAILS, NO_LINE, 0)                                                  \
    COMMAND(ResetComPort, NO_HARDWARE | WRITE, NO_LINE, 0)                                         \
    SOLVANE_CHOOSING_OPERATIONS(COMMAND, ORDER)

#define SOLVANE_CHOOSING_OPERATIONS(COMMAND, ORDER)                                                \
    COMMAND(RecheckStatus, NO_HARDWARE, NO_LINE, 0)                                                \
    ORDER(EnforceFTDI, NEVER_FAILS, NO_LINE, 0)
