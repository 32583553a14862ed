/// What a scenario says: which hardware there is, how the camera behaves and what goes wrong. The
/// keys, their units and defaults are described in the rig's README.
#pragma once

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

    Type type = Type::FT2232H;
    std::string serial;
    std::string letters = "AB"; ///< what ends the serial numbers of the channels of an FT2232H
    std::string description;
    bool camera = false; ///< carries the camera's lines
    bool plugged = true;
    bool openElsewhere = false;             ///< another program has all of its channels open
    std::optional<std::uint64_t> resetPort; ///< how long FT_ResetPort takes, ns; none = for ever
    // How long after it was attached, ns:
    std::uint64_t namedAfter = 0; ///< the list has its serial number and description
    std::uint64_t opensAfter = 0; ///< FT_Open opens it
};

/// A mainboard with the Embedded API.
struct EapiSetup {
    std::uint32_t gpios = 8;
};

/// A mainboard's Super I/O chip.
struct SuperIoSetup {
    std::uint16_t id = 0xC452;
    std::uint8_t activeBanks = 0xFF;
    std::optional<std::uint8_t> data; ///< what its outputs are set to; none = what the lines are at
};

/// A parallel port.
struct LptSetup {
    std::uint16_t base = 0x378;
    bool presenceWire = true; ///< control bit 3 to status bit 7
    bool powerWire = true;    ///< control bit 2 to status bit 4
};

/// Something that happens of its own accord, at a moment or just before a vendor call.
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
    bool inpoutDriver = false; ///< whether InpOut's kernel driver is open
    std::vector<Fault> faults;
    std::vector<ScenarioEvent> events;
    std::optional<Session> session;                    ///< that is to happen again
    std::size_t textBeforeSession = std::string::npos; ///< how much of the text is the rest
};

/// What is wrong with a scenario, and where.
struct ScenarioError : std::runtime_error {
    using runtime_error::runtime_error;
};

/// Reads a scenario, or throws ScenarioError.
Scenario ParseScenario(std::string_view toml);

/// One FT2232H, one camera.
inline constexpr std::string_view kDefaultScenario = "[[usb]]\nchip = 'FT2232H'\n";

} // namespace rig
