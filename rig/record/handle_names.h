/// Names for the handles of FTD2XX.dll, learned by watching the calls of a host go by.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "call.h"

namespace rig::record {

/// What the calls have shown of a device. What they have not shown is empty or 0.
struct Device {
    std::string serial; ///< with the letter of its channel
    std::string description;
    std::uint32_t location = 0;
    std::uint32_t type = 0; ///< FT_DEVICE_2232H ...
    std::uint32_t id = 0;   ///< vendor in the high 16 bits, product in the low 16
};

/// The devices in an array of FT_DEVICE_LIST_INFO_NODE.
std::vector<Device> DevicesIn(std::string_view nodes);

/// One program's handles: handles are the process's own. Not for several threads at once.
class HandleNames {
  public:
    /// Learns from a call that has returned. Calls that neither list nor open nor close devices
    /// cost one comparison and allocate nothing.
    void Learn(const Call& call);

    /// The serial number of the device that the handle is open for; "?" if it is not known, or if
    /// the handle is not open.
    const std::string& NameOf(std::uint64_t handle) const;

    /// Null if the handle is not open.
    const Device* DeviceOf(std::uint64_t handle) const;

    /// The device that was shown at the place on the bus; null if none was.
    const Device* DeviceAt(std::uint32_t location) const;

    /// Each device that was ever shown with its serial number, in the order in which they were.
    const std::vector<Device>& Devices() const { return known; }

  private:
    Device Known(std::uint32_t by, const Value& identity) const;
    void Remember(const Device& device);
    void Enter(std::size_t index, const Device& device);
    void Describe(std::uint64_t handle, const Device& device);
    void LearnNodes(const Value& nodes);
    void LearnDetail(const Call& call);
    void LearnList(const Call& call);
    void Open(const Value& handle, const Device& device);

    std::vector<Device>
        list; ///< as the host has seen it last, in the order in which FT_Open counts
    std::vector<Device> known;
    std::map<std::uint64_t, Device> open;
};

} // namespace rig::record
