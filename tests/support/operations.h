/// The table of all functions of the library, for all tests, in C and C++.
#pragma once

#include <solvane/rig.h>

/// How an operation can end besides success: bit n is the status -n.
enum {
    NEVER_FAILS = 0,
    MAY_BE_UNDETERMINED = 1 << 1,
    MAY_NOT_WRITE = 1 << 2,
    MAY_FIND_NOTHING = 1 << 3,
    MAY_BE_INVALID = 1 << 4,
    MAY_NOT_BE_READY = 1 << 5,
    IS_GATED = MAY_FIND_NOTHING | 1 << 15 /* it first checks that the hardware is there */
};

enum { NO_LINE = RIG_LINE_COUNT };

/// COMMAND takes nothing and returns a status. QUESTION takes a pointer for the answer and returns
/// a status. ORDER takes and returns nothing. The order is that of the controllers' virtual table.
///
/// After the name: how it can fail, its line, and the level that it leaves the line at, or its
/// answer at rest.
#define SOLVANE_CONTROLLER_OPERATIONS(COMMAND, QUESTION)                                           \
    COMMAND(CheckAvailable, IS_GATED, NO_LINE, 0)                                                  \
    COMMAND(CheckPowerControlAvailable, IS_GATED | MAY_BE_UNDETERMINED, NO_LINE, 0)                \
    COMMAND(TriggerCapture, IS_GATED | MAY_NOT_WRITE | MAY_NOT_BE_READY, RIG_TRIGGER, 0)           \
    COMMAND(EnableForcedBlackUpdate, IS_GATED | MAY_NOT_WRITE, RIG_DARK, 1)                        \
    COMMAND(DisableForcedBlackUpdate, IS_GATED | MAY_NOT_WRITE, RIG_DARK, 0)                       \
    QUESTION(CheckAndResetMepFlag, IS_GATED | MAY_BE_INVALID, RIG_MEP, 0)                          \
    QUESTION(CheckSystemReady, IS_GATED | MAY_BE_INVALID, RIG_READY, 1)                            \
    QUESTION(CheckForcedBlackUpdate, IS_GATED | MAY_BE_INVALID, RIG_DARK, 0)                       \
    COMMAND(WakeCamera, IS_GATED | MAY_NOT_WRITE, RIG_DARK, 0)                                     \
    COMMAND(EnableCameraPower, IS_GATED | MAY_NOT_WRITE, RIG_CAMERA_POWER, 1)                      \
    COMMAND(DisableCameraPower, IS_GATED | MAY_NOT_WRITE, RIG_CAMERA_POWER, 0)                     \
    QUESTION(CheckCameraPower, IS_GATED | MAY_BE_INVALID, RIG_CAMERA_POWER, 1)                     \
    COMMAND(EnableAccessoriesPower, IS_GATED | MAY_NOT_WRITE, RIG_ACCESSORIES_POWER, 1)            \
    COMMAND(DisableAccessoriesPower, IS_GATED | MAY_NOT_WRITE, RIG_ACCESSORIES_POWER, 0)           \
    QUESTION(CheckAccessoriesPower, IS_GATED | MAY_BE_INVALID, RIG_ACCESSORIES_POWER, 1)           \
    COMMAND(CloseDevice, NEVER_FAILS, NO_LINE, 0)                                                  \
    COMMAND(ResetComPort, MAY_FIND_NOTHING | MAY_NOT_WRITE, NO_LINE, 0)

/// The exports that choose the controller.
#define SOLVANE_CHOOSING_OPERATIONS(COMMAND, ORDER)                                                \
    COMMAND(RecheckStatus, MAY_FIND_NOTHING, NO_LINE, 0)                                           \
    ORDER(EnforceFTDI, NEVER_FAILS, NO_LINE, 0)

#define SOLVANE_OPERATIONS(COMMAND, QUESTION, ORDER)                                               \
    SOLVANE_CONTROLLER_OPERATIONS(COMMAND, QUESTION)                                               \
    SOLVANE_CHOOSING_OPERATIONS(COMMAND, ORDER)

/// All 24 functions; the last five do not concern the lines.
#define SOLVANE_FUNCTIONS(X)                                                                       \
    SOLVANE_OPERATIONS(X, X, X)                                                                    \
    X(SetLogger)                                                                                   \
    X(CreateTimer)                                                                                 \
    X(RunTimer)                                                                                    \
    X(StopTimer)                                                                                   \
    X(DisposeTimer)
