#include "ftd2xx_front.h"

namespace rig::usb {

Ftd2xxFront front;

std::vector<std::string_view> Ftd2xxFront::Functions() const {
    return {"FT_Open",
            "FT_Close",
            "FT_Read",
            "FT_Write",
            "FT_ResetDevice",
            "FT_SetFlowControl",
            "FT_SetChars",
            "FT_SetTimeouts",
            "FT_GetQueueStatus",
            "FT_SetBitMode",
            "FT_SetLatencyTimer",
            "FT_SetUSBParameters",
            "FT_ResetPort",
            "FT_CreateDeviceInfoList",
            "FT_GetDeviceInfoList"};
}

void Ftd2xxFront::Build(const Scenario& scenario, const Surroundings& surroundings) {
    bus.emplace(scenario.usb, surroundings);
}

bool Ftd2xxFront::SetPlugged(unsigned chip, bool plugged) {
    return bus->SetPlugged(chip, plugged);
}

} // namespace rig::usb
