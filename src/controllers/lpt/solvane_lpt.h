/// The controller whose lines are the pins of a parallel port.
#pragma once

#include "lpt_port.h"
#include "solvane_interface.h"

namespace SLV::Internal {

// What is known of the port. Process-wide, as the port is; a controller's destructor resets it, so
// that the next one looks again.

inline constexpr short kUndetermined = SOLVANE_E_UNDETERMINED;

extern short s_lptAvailability;      ///< kOk, kWriteFailed (no port driver) or kNoHardware
extern short s_lptPowerAvailability; ///< kOk or kNoHardware once the power interface was probed
extern bool s_lptInitialised;        ///< whether the port was looked for; it is looked for once

/// The first operation looks for the port; the result holds for the life of the controller.
class SolvaneLpt final : public SolvaneInterface {
  public:
    explicit SolvaneLpt(Logger& processLogger) : logger(processLogger) {}
    ~SolvaneLpt() override;

    short CheckAvailable() override;
    short CheckPowerControlAvailable() override;
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

  private:
    void InitialiseLpt();
    short FindPort();
    void ProbePowerInterface();

    // A gated change of one output.
    short Set(const lpt::Bit& bit);
    short Clear(const lpt::Bit& bit);

    Logger& logger;
};

} // namespace SLV::Internal
