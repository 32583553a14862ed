/// The functions of the public header, forwarded to the controller.

#define SOLVANE_NO_IMPORT // they are exported by solvane.def
#include <solvane/solvane.h>

#include "library_state.h"
#include "solvane_usb.h"

using namespace SLV::Internal;

namespace {

SolvaneInterface& Controller() {
    return *GetLibraryState().controller;
}

} // namespace

void SOLVANE_CALL Solvane_SetLogger(void* context, SolvaneLogCallback callback) {
    s_logger.Install(context, callback);
}

int16_t SOLVANE_CALL Solvane_CheckAvailable(void) {
    return Controller().CheckAvailable();
}

int16_t SOLVANE_CALL Solvane_CheckPowerControlAvailable(void) {
    return Controller().CheckPowerControlAvailable();
}

int16_t SOLVANE_CALL Solvane_RecheckStatus(void) {
    // As the first call of a process this selects twice: creating the state selects too. Kept,
    // because hosts start with this call and find both passes in the log.
    return SelectController(GetLibraryState());
}

void SOLVANE_CALL Solvane_EnforceFTDI(void) {
    TryCandidate(GetLibraryState(), MakeController<SolvaneUsb>);
}

int16_t SOLVANE_CALL Solvane_TriggerCapture(void) {
    return Controller().TriggerCapture();
}

int16_t SOLVANE_CALL Solvane_CheckSystemReady(int16_t* ready) {
    return Controller().CheckSystemReady(ready);
}

int16_t SOLVANE_CALL Solvane_CheckAndResetMepFlag(int16_t* flag) {
    return Controller().CheckAndResetMepFlag(flag);
}

int16_t SOLVANE_CALL Solvane_WakeCamera(void) {
    return Controller().WakeCamera();
}

int16_t SOLVANE_CALL Solvane_EnableForcedBlackUpdate(void) {
    return Controller().EnableForcedBlackUpdate();
}

int16_t SOLVANE_CALL Solvane_DisableForcedBlackUpdate(void) {
    return Controller().DisableForcedBlackUpdate();
}

int16_t SOLVANE_CALL Solvane_CheckForcedBlackUpdate(int16_t* on) {
    return Controller().CheckForcedBlackUpdate(on);
}

int16_t SOLVANE_CALL Solvane_EnableCameraPower(void) {
    return Controller().EnableCameraPower();
}

int16_t SOLVANE_CALL Solvane_DisableCameraPower(void) {
    return Controller().DisableCameraPower();
}

int16_t SOLVANE_CALL Solvane_CheckCameraPower(int16_t* on) {
    return Controller().CheckCameraPower(on);
}

int16_t SOLVANE_CALL Solvane_EnableAccessoriesPower(void) {
    return Controller().EnableAccessoriesPower();
}

int16_t SOLVANE_CALL Solvane_DisableAccessoriesPower(void) {
    return Controller().DisableAccessoriesPower();
}

int16_t SOLVANE_CALL Solvane_CheckAccessoriesPower(int16_t* on) {
    return Controller().CheckAccessoriesPower(on);
}

int16_t SOLVANE_CALL Solvane_CloseDevice(void) {
    return Controller().CloseDevice();
}

int16_t SOLVANE_CALL Solvane_ResetComPort(void) {
    return Controller().ResetComPort();
}
