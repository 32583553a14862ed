/// The controller whose lines are the bits of one output latch and one input buffer.
#pragma once

#include <cstdint>

#include "fine_timing.h"
#include "kernel.h"
#include "solvane_interface.h"

/// The card's own calls; a real kind declares its vendor's in src/platform/.
struct LatchCard {
    virtual ~LatchCard() = default;
    virtual bool IsThere() = 0;
    virtual void Write(std::uint8_t bits) = 0;
    virtual std::uint8_t Read() = 0;
};

extern LatchCard& s_latchCard;

namespace SLV::Internal {

class SolvaneLatch final : public SolvaneInterface {
  public:
    explicit SolvaneLatch(Logger& processLogger) : logger(processLogger) {}

    short CheckAvailable() override {
        if (!s_latchCard.IsThere()) {
            logger.Line("[LTCH]: no card");
            return kNoHardware;
        }
        return kOk;
    }

    short TriggerCapture() override {
        return WhenAvailable([&] {
            if (!IsSet(kReady)) {
                return kNotReady;
            }
            const FineTiming fineTiming;
            if (!IsSet(kNoMepFlag)) {
                PulseClearMep();
            }
            Drive(kTrigger, true);
            platform::Sleep(10);
            return Drive(kTrigger, false);
        });
    }

    short EnableForcedBlackUpdate() override { return Switch(kDark, true); }
    short DisableForcedBlackUpdate() override { return Switch(kDark, false); }
    short EnableCameraPower() override { return Switch(kCameraPower, true); }
    short DisableCameraPower() override { return Switch(kCameraPower, false); }
    short EnableAccessoriesPower() override { return Switch(kAccessoriesPower, true); }
    short DisableAccessoriesPower() override { return Switch(kAccessoriesPower, false); }

    short CheckSystemReady(short* ready) override {
        return Answer(ready, [&] { return IsSet(kReady); });
    }
    short CheckAndResetMepFlag(short* flag) override {
        return AnswerAndClear(
            flag, [&] { return !IsSet(kNoMepFlag); }, [&] { PulseClearMep(); });
    }
    short CheckForcedBlackUpdate(short* on) override {
        return Answer(on, [&] { return (latch & kDark) != 0; });
    }
    short CheckCameraPower(short* on) override {
        return Answer(on, [&] { return (latch & kCameraPower) != 0; });
    }
    short CheckAccessoriesPower(short* on) override {
        return Answer(on, [&] { return (latch & kAccessoriesPower) != 0; });
    }

    short WakeCamera() override {
        return WhenAvailable([&] {
            const bool wasDark = (latch & kDark) != 0;
            Drive(kDark, !wasDark);
            platform::Sleep(10);
            return Drive(kDark, wasDark);
        });
    }

  private:
    // Outputs.
    static constexpr std::uint8_t kTrigger = 0x01;
    static constexpr std::uint8_t kDark = 0x02;
    static constexpr std::uint8_t kClearMep = 0x04;
    static constexpr std::uint8_t kCameraPower = 0x08;
    static constexpr std::uint8_t kAccessoriesPower = 0x10;
    // Inputs.
    static constexpr std::uint8_t kReady = 0x01;
    static constexpr std::uint8_t kNoMepFlag = 0x02; ///< latched flag, active low

    static bool IsSet(std::uint8_t input) { return (s_latchCard.Read() & input) != 0; }

    short Drive(std::uint8_t output, bool on) {
        latch = static_cast<std::uint8_t>(on ? latch | output : latch & ~output);
        s_latchCard.Write(latch);
        return kOk;
    }

    short Switch(std::uint8_t output, bool on) {
        return WhenAvailable([&] { return Drive(output, on); });
    }

    void PulseClearMep() {
        Drive(kClearMep, true);
        platform::Sleep(0);
        Drive(kClearMep, false);
    }

    Logger& logger;
    std::uint8_t latch = 0; ///< the levels of the outputs
};

} // namespace SLV::Internal
