/// The mainboard whose pins are a GPIO bank of its Super I/O chip.
#pragma once

#include <memory>

#include "gpio_bank.h"
#include "solvane_mobo.h"

namespace SLV::Internal {

/// The last accessories-power command on this polarity.
extern std::uint16_t kontronAccessoriesPowerFlag;

/// The power lines of this board are active high.
class SolvaneKontron final : public SolvaneMoBo {
  public:
    using SolvaneMoBo::SolvaneMoBo;

    /// Leaves the chip's configuration mode and releases the ports.
    ~SolvaneKontron() override;

    short EnableCameraPower() override;
    short DisableCameraPower() override;
    short CheckCameraPower(short* on) override;
    short EnableAccessoriesPower() override;
    short DisableAccessoriesPower() override;
    short CheckAccessoriesPower(short* on) override;

    bool GetPinValue(PinId pin, std::uint32_t& value) override;
    bool SetPinValue(PinId pin, std::uint32_t level) override;
    short Configure() override;

    /// The pins as they were last read or written, one token each; reads no port.
    LogText DescribeState() const;

  private:
    // The steps of Configure(). Each logs why it failed, except for lack of memory.
    bool OpenPorts();
    bool SelectGpioDevice();
    bool IsBankActive();
    bool MakeBank();
    bool SetPinsToRest();

    std::unique_ptr<GpioBank> bank; ///< null until the chip was found
};

} // namespace SLV::Internal
