/// The functions of Solvane.dll.
#pragma once

#include <solvane/solvane.h>

#include "stop.h"

namespace host {

template <typename Function>
class Operation;

/// A function of the library that throws Stopped, instead of calling it, once the program was asked
/// to stop.
template <typename Result, typename... Arguments>
class Operation<Result(SOLVANE_CALL*)(Arguments...)> {
  public:
    using Function = Result(SOLVANE_CALL*)(Arguments...);

    Result operator()(Arguments... arguments) const {
        EndIfStopped();
        return function(arguments...);
    }

    /// For calls that restore a line: they must happen even after a stop.
    Result EvenIfStopped(Arguments... arguments) const { return function(arguments...); }

    Function function = nullptr;
};

/// Each member is the library's function of the same name.
struct Functions {
    decltype(&Solvane_SetLogger) SetLogger;
    Operation<decltype(&Solvane_CheckAvailable)> CheckAvailable;
    Operation<decltype(&Solvane_CheckPowerControlAvailable)> CheckPowerControlAvailable;
    Operation<decltype(&Solvane_RecheckStatus)> RecheckStatus;
    Operation<decltype(&Solvane_EnforceFTDI)> EnforceFTDI;
    Operation<decltype(&Solvane_TriggerCapture)> TriggerCapture;
    Operation<decltype(&Solvane_CheckSystemReady)> CheckSystemReady;
    Operation<decltype(&Solvane_CheckAndResetMepFlag)> CheckAndResetMepFlag;
    Operation<decltype(&Solvane_WakeCamera)> WakeCamera;
    Operation<decltype(&Solvane_EnableForcedBlackUpdate)> EnableForcedBlackUpdate;
    Operation<decltype(&Solvane_DisableForcedBlackUpdate)> DisableForcedBlackUpdate;
    Operation<decltype(&Solvane_CheckForcedBlackUpdate)> CheckForcedBlackUpdate;
    Operation<decltype(&Solvane_EnableCameraPower)> EnableCameraPower;
    Operation<decltype(&Solvane_DisableCameraPower)> DisableCameraPower;
    Operation<decltype(&Solvane_CheckCameraPower)> CheckCameraPower;
    Operation<decltype(&Solvane_EnableAccessoriesPower)> EnableAccessoriesPower;
    Operation<decltype(&Solvane_DisableAccessoriesPower)> DisableAccessoriesPower;
    Operation<decltype(&Solvane_CheckAccessoriesPower)> CheckAccessoriesPower;
    Operation<decltype(&Solvane_CloseDevice)> CloseDevice;
    Operation<decltype(&Solvane_ResetComPort)> ResetComPort;
    Operation<decltype(&Solvane_CreateTimer)> CreateTimer;
    Operation<decltype(&Solvane_RunTimer)> RunTimer;
    // Plain pointers: these end something, and must work after a stop as well.
    decltype(&Solvane_StopTimer) StopTimer;
    decltype(&Solvane_DisposeTimer) DisposeTimer;
};

} // namespace host
