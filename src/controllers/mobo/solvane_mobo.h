/// What every mainboard does for the camera, on eight pins that a back-end reads and drives.
#pragma once

#include <cstdint>

#include "pins.h"
#include "solvane_interface.h"

namespace SLV::Internal {

/// The last accessories-power command, for that line is not read back: 1 on, 0 off. One of the
/// process for each polarity, so that a new controller still knows it.
extern std::uint16_t moboAccessoriesPowerFlag;

/// The power lines here are power-down lines: low means on. A back-end whose board has them the
/// other way round overrides the six power operations.
class SolvaneMoBo : public SolvaneInterface {
  public:
    explicit SolvaneMoBo(Logger& processLogger) : logger(processLogger) {}

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

    /// Reads a pin: 0 or 1. False when it cannot be read; `value` then keeps what it held.
    virtual bool GetPinValue(PinId pin, std::uint32_t& value) = 0;

    /// Drives a pin. False when it cannot be driven; the reason is in the log.
    virtual bool SetPinValue(PinId pin, std::uint32_t level) = 0;

    /// Brings the hardware up: 0 or kNoHardware.
    virtual short Configure() = 0;

  protected:
    Logger& logger;
    short configResult = kNoHardware; ///< of the last Configure()
    std::uint32_t levelHigh = 1;
    std::uint32_t levelLow = 0;

    /// Whether the pin can be read and has that level.
    bool IsAt(PinId pin, std::uint32_t level);

    /// A gated write of one pin.
    short Drive(PinId pin, std::uint32_t level);

    /// A gated write of the accessories pin, remembered in the flag once it succeeded.
    short SwitchAccessories(std::uint32_t level, std::uint16_t& flag, std::uint16_t command);

  private:
    short SetLinesToRest();
    void PulseClearMep();
    bool PulseTrigger();
};

} // namespace SLV::Internal
