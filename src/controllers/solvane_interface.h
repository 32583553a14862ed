/// The abstract controller: what each kind of hardware does for the host.
#pragma once

#include "fine_timing.h"
#include "logger.h"

namespace SLV::Internal {

/// The statuses that controllers return, as the public header documents them.
inline constexpr short kOk = SOLVANE_OK;
inline constexpr short kWriteFailed = SOLVANE_E_WRITE;
inline constexpr short kNoHardware = SOLVANE_E_NO_HARDWARE;
inline constexpr short kInvalid = SOLVANE_E_INVALID;
inline constexpr short kNotReady = SOLVANE_E_NOT_READY;

/// One class for each kind of hardware. Each operation serves the export of the same name; the
/// order of declaration is the order in the virtual table.
class SolvaneInterface {
  public:
    SolvaneInterface() = default;
    SolvaneInterface(const SolvaneInterface&) = delete;
    SolvaneInterface& operator=(const SolvaneInterface&) = delete;

    virtual ~SolvaneInterface() = default;
    virtual short CheckAvailable() = 0;
    virtual short CheckPowerControlAvailable() { return CheckAvailable(); }
    virtual short TriggerCapture() = 0;
    virtual short EnableForcedBlackUpdate() = 0;
    virtual short DisableForcedBlackUpdate() = 0;
    virtual short CheckAndResetMepFlag(short* flag) = 0;
    virtual short CheckSystemReady(short* ready) = 0;
    virtual short CheckForcedBlackUpdate(short* on) = 0;
    virtual short WakeCamera() = 0;
    virtual short EnableCameraPower() = 0;
    virtual short DisableCameraPower() = 0;
    virtual short CheckCameraPower(short* on) = 0;
    virtual short EnableAccessoriesPower() = 0;
    virtual short DisableAccessoriesPower() = 0;
    virtual short CheckAccessoriesPower(short* on) = 0;
    virtual short CloseDevice() { return kOk; }
    virtual short ResetComPort() { return kOk; }

  protected:
    /// The gate before nearly every operation: without hardware its status is returned and no line
    /// is touched.
    template <typename Operation>
    short WhenAvailable(Operation&& operation) {
        const short status = CheckAvailable();
        return status != kOk ? status : operation();
    }

    /// A gated yes-or-no question. The pointer is checked after the gate, so that missing hardware
    /// is reported first.
    template <typename Question>
    short Answer(short* out, Question&& question) {
        return WhenAvailable([&] {
            if (out == nullptr) {
                return kInvalid;
            }
            *out = question() ? 1 : 0;
            return kOk;
        });
    }

    /// The gated question for the MEP flag: a latched flag is cleared with one pulse, and reported
    /// even if the pulse fails.
    template <typename Latched, typename Pulse>
    short AnswerAndClear(short* flag, Latched&& isLatched, Pulse&& pulse) {
        return Answer(flag, [&] {
            *flag = 0;
            if (!isLatched()) {
                return false;
            }
            const FineTiming fineTiming;
            pulse();
            return true;
        });
    }
};

} // namespace SLV::Internal
