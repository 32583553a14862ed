#include "instant_board.h"

#include <cstdint>

#include "eapi.h"
#include "inpout.h"
#include "wmi.h"

namespace {

unsigned calls = 0;

constexpr std::uint32_t kReady = 1; ///< pins of the camera that read high: ready, no flag latched
constexpr std::uint32_t kNoFlag = 2;

std::uint16_t superIoIndex = 0;
std::uint16_t superIoData = 0;

} // namespace

unsigned test::instant_board::Calls() {
    return calls;
}

EApiStatus_t EAPI_CALL EApiLibInitialize() {
    ++calls;
    return EAPI_STATUS_SUCCESS;
}
EApiStatus_t EAPI_CALL EApiLibUnInitialize() {
    ++calls;
    return EAPI_STATUS_SUCCESS;
}
EApiStatus_t EAPI_CALL EApiGetEAPIVersion(std::uint8_t*, std::uint8_t*, std::uint8_t*,
                                          std::uint16_t*) {
    ++calls;
    return EAPI_STATUS_SUCCESS;
}
EApiStatus_t EAPI_CALL EApiGPIOGetCount(std::uint32_t* count) {
    ++calls;
    *count = 8;
    return EAPI_STATUS_SUCCESS;
}
EApiStatus_t EAPI_CALL EApiGPIOSetDirection(EApiId_t, std::uint32_t, std::uint32_t) {
    ++calls;
    return EAPI_STATUS_SUCCESS;
}
EApiStatus_t EAPI_CALL EApiGPIOGetLevel(EApiId_t id, std::uint32_t, std::uint32_t* level) {
    ++calls;
    *level = id == kReady || id == kNoFlag ? 1 : 0;
    return EAPI_STATUS_SUCCESS;
}
EApiStatus_t EAPI_CALL EApiGPIOSetLevel(EApiId_t, std::uint32_t, std::uint32_t) {
    ++calls;
    return EAPI_STATUS_SUCCESS;
}

std::uint16_t INPOUT_CALL Inp32(std::uint16_t port) {
    ++calls;
    constexpr std::uint16_t kSuperIoData = 0x2F;
    constexpr std::uint16_t kPortReadyWithoutFlag = 0x60;
    if (port != kSuperIoData) {
        return kPortReadyWithoutFlag;
    }
    switch (superIoIndex) {
    case 0x20:
        return 0xC4;
    case 0x21:
        return 0x52;
    case 0xED:
        return static_cast<std::uint16_t>(superIoData | 1U << kReady | 1U << kNoFlag);
    default:
        return 0xFF;
    }
}

void INPOUT_CALL Out32(std::uint16_t port, std::uint16_t value) {
    ++calls;
    if (port == 0x2E) {
        superIoIndex = value;
    } else if (superIoIndex == 0xED) {
        superIoData = value;
    }
}

/// COM has no WMI here.
extern "C" HRESULT solvane_wbem_get_class_object(REFCLSID, REFIID, void**) {
    return CLASS_E_CLASSNOTAVAILABLE;
}

extern "C" int rig_wbem_interfaces() {
    return 0;
}

std::uint32_t INPOUT_CALL IsInpOutDriverOpen() {
    ++calls;
    return 1;
}
