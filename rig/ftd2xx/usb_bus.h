/// The USB with its chips, and the handles that the driver has given out for them.
#pragma once

#include <compare>
#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <vector>

#include "d2xx.h"
#include "host_number.h"
#include "surroundings.h"
#include "usb_chip.h"

namespace rig::usb {

class UsbBus {
  public:
    UsbBus(const std::vector<UsbChipSetup>& setups, const Surroundings& surroundings);

    // Handles and lists are each host's own: all of these are about those of the host whose call is
    // being answered.

    using Nodes = std::vector<FT_DEVICE_LIST_INFO_NODE>;

    Nodes PresentNodes() const;

    /// The list that FT_CreateDeviceInfoList takes, and FT_GetDeviceInfoList copies.
    const Nodes& TakeSnapshot();
    const Nodes& Snapshot() { return snapshots[Host()]; }

    FT_STATUS Open(int index, FT_HANDLE& handle);
    FT_STATUS Close(FT_HANDLE handle);

    /// The chip leaves at once and comes back by itself. The handle is of no use any more.
    FT_STATUS ResetPort(FT_HANDLE handle);

    /// The same for all chips of an id, or for all; no handle to them is of use any more.
    void Reload(std::uint32_t id);

    /// The channel behind a handle. Null, with the status why, when it is unknown or its chip has
    /// left since it was opened.
    Channel* Find(FT_HANDLE handle, FT_STATUS& status);

    /// The device behind an open handle, as a list shows it.
    FT_DEVICE_LIST_INFO_NODE NodeOf(FT_HANDLE handle) const {
        return NodeAt(handles.at(handle).place);
    }

    /// The serial number behind a handle, "?" when it is unknown.
    std::string NameOf(FT_HANDLE handle) const;

    void SetPlugged(unsigned chip, bool plugged);

    /// Closes what a host has open that has left.
    void Release(HostNumber host);

    /// The hub loses its power, or gets it back: to its chips that is like a plug.
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
        bool closesCleanly = false; ///< stale by the host's own doing
    };

    static HostNumber Host();
    std::vector<Place> PresentPlaces() const;
    const std::pair<const FT_HANDLE, OpenHandle>* OpenAt(const Place& place) const;
    /// Of the host's own; null when it is none.
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
