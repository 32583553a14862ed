/// What both kinds of mainboard share: the operations on eight pins that a derived class reads and
/// drives.
#pragma once

#include <cstdint>

#include "pins.h"
#include "solvane_interface.h"

namespace SLV::Internal {

/// The last accessories-power command (1 on, 0 off), because that line cannot be read back. One for
/// each polarity, process-wide, so that a new controller still knows it.
extern std::uint16_t moboAccessoriesPowerFlag;

/// The power lines are power-down lines here: low means on. A class whose board has them the other
/// way round overrides the six power operations.
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

    /// Reads a pin: 0 or 1. On failure returns false and leaves `value` alone.
    virtual bool GetPinValue(PinId pin, std::uint32_t& value) = 0;

    /// Drives a pin. On failure returns false, with the reason in the log.
    virtual bool SetPinValue(PinId pin, std::uint32_t level) = 0;

    /// Brings the hardware up. Returns kOk or kNoHardware.
    virtual short Configure() = 0;

  protected:
    Logger& logger;
    short configResult = kNoHardware; ///< of the last Configure()
    std::uint32_t levelHigh = 1;
    std::uint32_t levelLow = 0;

    /// Whether the pin can be read and has that level.
    bool IsAt(PinId pin, std::uint32_t level);

    short Drive(PinId pin, std::uint32_t level);

    /// Drives the accessories pin; a success is remembered in the flag.
    short SwitchAccessories(std::uint32_t level, std::uint16_t& flag, std::uint16_t command);

  private:
    short SetLinesToRest();
    void PulseClearMep();
    bool PulseTrigger();
};

} // namespace SLV::Internal
