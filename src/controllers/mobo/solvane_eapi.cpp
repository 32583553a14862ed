#include "solvane_eapi.h"

#include <algorithm>

#include "eapi.h"

namespace SLV::Internal {

namespace {

constexpr const char* kVersion = "2.2"; ///< of this controller

/// A pin's number is its GPIO id, so each call addresses one pin.
constexpr std::uint32_t kOnePin = 1;

} // namespace

template <typename... Pieces>
bool SolvaneEApi::Succeeded(EApiStatus_t status, const Pieces&... pieces) {
    if (status != EAPI_STATUS_SUCCESS) {
        logger.Line(pieces..., Hex(status));
    }
    return status == EAPI_STATUS_SUCCESS;
}

SolvaneEApi::SolvaneEApi(Logger& processLogger) : SolvaneMoBo(processLogger) {
    std::uint8_t major = 0;
    std::uint8_t minor = 0;
    std::uint8_t patch = 0;
    std::uint16_t build = 0;
    EApiGetEAPIVersion(&major, &minor, &patch, &build); // after a failure the log says 0.0.0.0
    logger.Line("[EAPI]: GPIO control v", kVersion, " for EAPI library v", unsigned{major}, ".",
                unsigned{minor}, ".", unsigned{patch}, ".", build);
}

SolvaneEApi::~SolvaneEApi() {
    Succeeded(EApiLibUnInitialize(), "[EAPI]: EApiLibUnInitialize error 0x");
}

bool SolvaneEApi::GetPinValue(PinId pin, std::uint32_t& value) {
    return Succeeded(EApiGPIOGetLevel(pin, kOnePin, &value), "[EAPI]: EApiGPIOGetLevel error 0x");
}

bool SolvaneEApi::SetPinValue(PinId pin, std::uint32_t level) {
    return Succeeded(EApiGPIOSetLevel(pin, kOnePin, level), "[EAPI]: EApiGPIOSetLevel error 0x");
}

short SolvaneEApi::Configure() {
    return InitialiseLibrary() && HasEnoughPins() && SetDirections() ? kOk : kNoHardware;
}

bool SolvaneEApi::InitialiseLibrary() {
    const EApiStatus_t status = EApiLibInitialize();
    // A Configure() that failed further on left the library initialised.
    return status == EAPI_STATUS_INITIALIZED ||
           Succeeded(status, "[EAPI]: EApiLibInitialize error 0x");
}

bool SolvaneEApi::HasEnoughPins() {
    std::uint32_t count = 0;
    if (!Succeeded(EApiGPIOGetCount(&count), "[EAPI]: EApiGPIOGetCount error 0x")) {
        return false;
    }
    if (count < kPins.size()) {
        // The required number is logged as the byte 0x08, not as a digit: a frozen text.
        logger.Line("[EAPI]: not enough GPIO pins available (", count, " instead of ",
                    static_cast<char>(kPins.size()), ")");
        return false;
    }
    return true;
}

bool SolvaneEApi::SetDirections() {
    return std::ranges::all_of(kPins, [&](const Pin& pin) {
        return Succeeded(EApiGPIOSetDirection(pin.id, kOnePin, pin.direction),
                         "[EAPI]: EApiGPIOSetDirection(", pin.name, ") error 0x");
    });
}

} // namespace SLV::Internal
