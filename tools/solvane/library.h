/// Solvane.dll, loaded while the program runs.
#pragma once

#include <filesystem>
#include <stdexcept>

#include <solvane/solvane.h>

#include "module.h"

namespace host {

/// Why the library cannot be used, as sentences for the user.
class LoadFailure : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// Each member is the library's function of the same name.
class Library {
  public:
    /// Loads the library from a path, or with an empty path from beside this program. Throws
    /// LoadFailure.
    explicit Library(const std::filesystem::path& path);

    decltype(&Solvane_SetLogger) SetLogger;
    decltype(&Solvane_CheckAvailable) CheckAvailable;
    decltype(&Solvane_CheckPowerControlAvailable) CheckPowerControlAvailable;
    decltype(&Solvane_RecheckStatus) RecheckStatus;
    decltype(&Solvane_EnforceFTDI) EnforceFTDI;
    decltype(&Solvane_TriggerCapture) TriggerCapture;
    decltype(&Solvane_CheckSystemReady) CheckSystemReady;
    decltype(&Solvane_CheckAndResetMepFlag) CheckAndResetMepFlag;
    decltype(&Solvane_WakeCamera) WakeCamera;
    decltype(&Solvane_EnableForcedBlackUpdate) EnableForcedBlackUpdate;
    decltype(&Solvane_DisableForcedBlackUpdate) DisableForcedBlackUpdate;
    decltype(&Solvane_CheckForcedBlackUpdate) CheckForcedBlackUpdate;
    decltype(&Solvane_EnableCameraPower) EnableCameraPower;
    decltype(&Solvane_DisableCameraPower) DisableCameraPower;
    decltype(&Solvane_CheckCameraPower) CheckCameraPower;
    decltype(&Solvane_EnableAccessoriesPower) EnableAccessoriesPower;
    decltype(&Solvane_DisableAccessoriesPower) DisableAccessoriesPower;
    decltype(&Solvane_CheckAccessoriesPower) CheckAccessoriesPower;
    decltype(&Solvane_CloseDevice) CloseDevice;
    decltype(&Solvane_ResetComPort) ResetComPort;
    decltype(&Solvane_CreateTimer) CreateTimer;
    decltype(&Solvane_RunTimer) RunTimer;
    decltype(&Solvane_StopTimer) StopTimer;
    decltype(&Solvane_DisposeTimer) DisposeTimer;

  private:
    Module module;
};

} // namespace host
