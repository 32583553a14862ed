/// The mainboard whose pins are reached through the PICMG Embedded API.
#pragma once

#include "solvane_mobo.h"

namespace SLV::Internal {

class SolvaneEApi final : public SolvaneMoBo {
  public:
    /// Asks the library for its version and logs it; the board is not touched.
    explicit SolvaneEApi(Logger& processLogger);

    /// Uninitialises the library, even if it was never initialised.
    ~SolvaneEApi() override;

    bool GetPinValue(PinId pin, std::uint32_t& value) override;
    bool SetPinValue(PinId pin, std::uint32_t level) override;
    short Configure() override;

  private:
    /// Whether the call succeeded; else logs the pieces and the status.
    template <typename... Pieces>
    bool Succeeded(EApiStatus_t status, const Pieces&... pieces);

    bool InitialiseLibrary();
    bool HasEnoughPins();
    bool SetDirections();
};

} // namespace SLV::Internal
