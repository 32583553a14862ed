/// What a host can ask of the library, as the one table of the tests.
#pragma once

/// The functions of the lines, in the order of SolvaneInterface, and behind them the two that
/// choose the hardware. COMMAND takes nothing and returns a status, QUESTION takes a pointer to the
/// answer and returns a status, ORDER takes and returns nothing.
#define SOLVANE_LINE_FUNCTIONS(COMMAND, QUESTION, ORDER)                                           \
    COMMAND(CheckAvailable)                                                                        \
    COMMAND(CheckPowerControlAvailable)                                                            \
    COMMAND(TriggerCapture)                                                                        \
    COMMAND(EnableForcedBlackUpdate)                                                               \
    COMMAND(DisableForcedBlackUpdate)                                                              \
    QUESTION(CheckAndResetMepFlag)                                                                 \
    QUESTION(CheckSystemReady)                                                                     \
    QUESTION(CheckForcedBlackUpdate)                                                               \
    COMMAND(WakeCamera)                                                                            \
    COMMAND(EnableCameraPower)                                                                     \
    COMMAND(DisableCameraPower)                                                                    \
    QUESTION(CheckCameraPower)                                                                     \
    COMMAND(EnableAccessoriesPower)                                                                \
    COMMAND(DisableAccessoriesPower)                                                               \
    QUESTION(CheckAccessoriesPower)                                                                \
    COMMAND(CloseDevice)                                                                           \
    COMMAND(ResetComPort)                                                                          \
    COMMAND(RecheckStatus)                                                                         \
    ORDER(EnforceFTDI)
