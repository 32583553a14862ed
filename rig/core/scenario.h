/// A scenario: the hardware, the camera's behaviour and the faults. The rig's README describes the
/// keys with their units and defaults.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "action.h"
#include "fault_plan.h"
#include "installation.h"
#include "session.h"
#include "wmi_scenario.h"

namespace rig {

/// A USB chip with the D2XX driver behind it.
struct UsbChipSetup {
    enum class Type { FT2232H, FT232R, FT2232D, FT4232H, FT232H };
    static constexpr std::array kTypeNames = {"FT2232H", "FT232R", "FT2232D", "FT4232H", "FT232H"};

    Type type = Type::FT2232H;
    std::string serial;
    std::string letters = "AB"; ///< appended to the serial number for each channel of an FT2232H
    std::string description;
    bool camera = false; ///< carries the camera's lines
    bool plugged = true;
    bool openElsewhere = false;             ///< another program has all of its channels open
    std::optional<std::uint64_t> resetPort; ///< how long FT_ResetPort takes, ns; none = for ever
    // Delays after the chip was attached, ns:
    std::uint64_t namedAfter = 0; ///< until the list has its serial number and description
    std::uint64_t opensAfter = 0; ///< until FT_Open succeeds
};

/// A mainboard with the Embedded API.
struct EapiSetup {
    std::uint32_t gpios = 8;
};

/// A mainboard's Super I/O chip.
struct SuperIoSetup {
    std::uint16_t id = 0xC452;
    std::uint8_t activeBanks = 0xFF;
    std::optional<std::uint8_t> data; ///< the output latch; none = the levels of the lines
};

/// A parallel port.
struct LptSetup {
    std::uint16_t base = 0x378;
    bool presenceWire = true; ///< control bit 3 to status bit 7
    bool powerWire = true;    ///< control bit 2 to status bit 4
};

/// An action planned for a time, or for just before a vendor call.
struct ScenarioEvent {
    Action action;
    std::uint64_t at = 0; ///< ns, when `before` is empty
    std::string before;
    std::uint32_t call = 1;
};

struct Scenario {
    CameraSetup camera;
    std::vector<UsbChipSetup> usb;
    std::optional<EapiSetup> eapi;
    std::optional<SuperIoSetup> superIo;
    std::optional<LptSetup> lpt;
    WmiSetup wmi;              ///< the parallel ports that Windows knows
    bool inpoutDriver = false; ///< InpOut's kernel driver is open
    std::vector<Fault> faults;
    std::vector<ScenarioEvent> events;
    std::optional<Session> session;                    ///< a recorded session to be replayed
    std::size_t textBeforeSession = std::string::npos; ///< the length of the text before it
};

/// The message says what is wrong with a scenario, and in which line.
struct ScenarioError : std::runtime_error {
    using runtime_error::runtime_error;
};

/// Reads a scenario, or throws ScenarioError.
Scenario ParseScenario(std::string_view toml);

/// One FT2232H, one camera.
inline constexpr std::string_view kDefaultScenario = "[[usb]]\nchip = 'FT2232H'\n";

} // namespace rig
