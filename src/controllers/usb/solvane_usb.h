/// The controller whose lines are the pins of an FT2232H's channel B.
#pragma once

#include "solvane_interface.h"

namespace SLV::Internal {

/// The first operation that needs the chip opens and configures it, also after it was lost. The
/// levels of the lines live in the chip, not in this object.
class SolvaneUsb final : public SolvaneInterface {
  public:
    explicit SolvaneUsb(Logger& processLogger);
    ~SolvaneUsb() override;

    short CheckAvailable() override;
    short TriggerCapture() override;
    short EnableForcedBlackUpdate() override;
    short DisableForcedBlackUpdate() override;
    short CheckAndResetMepFlag(short* flag) override;
    short CheckSystemReady(short* ready) override;
    short CheckForcedBlackUpdate(short* on) override;
    short WakeCamera() override;
    short EnableCameraPower() override;
    short DisableCameraPower() override;
    short CheckCameraPower(short* on) override;
    short EnableAccessoriesPower() override;
    short DisableAccessoriesPower() override;
    short CheckAccessoriesPower(short* on) override;
    short CloseDevice() override;
    short ResetComPort() override;

  private:
    // In ftdi_channel.cpp.
    short Configure();
    void CloseFtdi();
    void ResetPortAndWait();
    bool RestoreAvailability();

    /// 0 while channel B is configured, else kNoHardware.
    short status = kNoHardware;
    Logger& logger;
};

} // namespace SLV::Internal
