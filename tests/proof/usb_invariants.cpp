#include "usb_invariants.h"

#include <algorithm>
#include <string_view>

#include "d2xx.h"

namespace proof {

namespace {

bool Succeeded(std::string_view call) {
    const std::string_view result = call.substr(call.find("-> ") + 3);
    return result == "0" || result.starts_with("0,");
}

constexpr std::string_view kFault = "fault ";

} // namespace

UsbInvariants::UsbInvariants(std::uint32_t fault) : doesItsWork((fault & RIG_FAULT_COUNT) != 0) {
    bool isAtFault = false;
    rig_entry entry{};
    for (std::size_t i = 0; rig_journal_entry(i, &entry) == 0; ++i) {
        if (entry.kind == RIG_EVENT) {
            isAtFault = isAtFault || std::string_view(entry.text).starts_with(kFault);
        } else if (entry.kind == RIG_CALL) {
            See(entry.text, isAtFault);
            isAtFault = false;
        }
    }
}

void UsbInvariants::See(const std::string& call, bool isAtFault) {
    const bool isDone = isAtFault ? doesItsWork : Succeeded(call);
    if (call.starts_with("FT_Open(")) {
        SeeOpen(call, isDone);
    } else if (call.starts_with("FT_Close(")) {
        SeeClose(call, isDone);
    } else if (call.starts_with("FT_ResetPort(")) {
        isConfigured = false;
        isOpen = isOpen && !isDone; // the chip leaves the bus, and every handle is invalid
    } else if (isInitialising && call.starts_with("FT_SetBitMode(") &&
               call.find(", 2) ->") != std::string::npos) {
        isConfigured = isConfigured && Succeeded(call);
        isInitialising = false;
    } else if (isInitialising && !call.starts_with("FT_Read(")) { // a drain may fail
        isConfigured = isConfigured && Succeeded(call);
    }
}

void UsbInvariants::SeeOpen(const std::string& call, bool isDone) {
    const bool isSerial = call.starts_with("FT_Open(0)");
    if (isSerial) {
        isSerialClaimed = isSerialClaimed || isDone;
        return;
    }
    isHeld = isHeld || isDone;
    isOpen = isOpen || isDone;
    isInitialising = Succeeded(call);
    isConfigured = isInitialising;
}

void UsbInvariants::SeeClose(const std::string& call, bool isDone) {
    if (call.starts_with("FT_Close(SLV1A)")) {
        isSerialClaimed = isSerialClaimed && !isDone;
    } else if (call.starts_with("FT_Close(SLV1B)")) {
        isOpen = isOpen && !isDone;
        isHeld = false;
        isConfigured = false;
    }
}

std::size_t OpenChannels() {
    FT_DEVICE_LIST_INFO_NODE nodes[4] = {};
    auto count = static_cast<std::uint32_t>(std::size(nodes));
    std::uint32_t present = 0;
    FT_CreateDeviceInfoList(&present);
    FT_GetDeviceInfoList(nodes, &count);
    return static_cast<std::size_t>(std::ranges::count_if(
        nodes, [](const FT_DEVICE_LIST_INFO_NODE& node) { return node.ftHandle != nullptr; }));
}

} // namespace proof
