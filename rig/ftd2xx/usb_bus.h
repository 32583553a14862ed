/// The USB bus with its chips, and the driver's open handles to them.
#pragma once

#include <compare>
#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <vector>

#include "d2xx.h"
#include "host_number.h"
#include "stand_in.h"
#include "surroundings.h"
#include "usb_chip.h"

namespace rig::usb {

class UsbBus {
  public:
    UsbBus(const std::vector<UsbChipSetup>& setups, const Surroundings& surroundings);

    // Each host has its own handles and device list. These functions use those of the host whose
    // call is being answered.

    using Nodes = std::vector<FT_DEVICE_LIST_INFO_NODE>;

    Nodes PresentNodes() const;

    /// Takes the list for FT_CreateDeviceInfoList; FT_GetDeviceInfoList copies it.
    const Nodes& TakeSnapshot();
    const Nodes& Snapshot() { return snapshots[Host()]; }

    FT_STATUS Open(int index, FT_HANDLE& handle);
    FT_STATUS Close(FT_HANDLE handle);

    /// The chip leaves the bus at once and comes back by itself. The handle becomes invalid.
    FT_STATUS ResetPort(FT_HANDLE handle);

    /// The same for all chips of an id, or for all chips. All handles to them become invalid.
    void Reload(std::uint32_t id);

    /// The channel of a handle. Null, with the reason in `status`, when the handle is unknown or
    /// its chip has left the bus since it was opened.
    Channel* Find(FT_HANDLE handle, FT_STATUS& status);

    /// The device of an open handle, as in a list.
    FT_DEVICE_LIST_INFO_NODE NodeOf(FT_HANDLE handle) const {
        return NodeAt(handles.at(handle).place);
    }

    /// The serial number for a handle; "?" when the handle is unknown.
    std::string NameOf(FT_HANDLE handle) const;

    void SetPlugged(unsigned chip, bool plugged);

    void Describe(Equipment& equipment) const;

    /// Closes the handles of a host that has ended.
    void Release(HostNumber host);

    /// Switches the hub's power off or on. For its chips that is like being unplugged.
    void SetAsleep(bool asleep);

  private:
    struct Place {
        std::size_t chip;
        std::size_t channel;
        auto operator<=>(const Place&) const = default;
    };
    struct OpenHandle {
        Place place;
        HostNumber host;
        bool isStale = false;
        bool closesCleanly = false; ///< stale because the host itself reset the port
    };

    static HostNumber Host();
    std::vector<Place> PresentPlaces() const;
    const std::pair<const FT_HANDLE, OpenHandle>* OpenAt(const Place& place) const;
    /// Null when the handle is not one of the calling host's.
    const OpenHandle* OwnHandle(FT_HANDLE handle) const;
    FT_DEVICE_LIST_INFO_NODE NodeAt(const Place& place) const;
    void Leave(std::size_t chip);
    void LeaveForAWhile(std::size_t chip);
    void Return(std::size_t chip);
    void Attach(std::size_t chip);
    void Detach(std::size_t chip);

    Surroundings around;
    std::deque<UsbChip> chips;
    std::map<FT_HANDLE, OpenHandle> handles;
    std::map<HostNumber, Nodes> snapshots;
};

} // namespace rig::usb
