#include "instant_hardware.h"

#include <algorithm>

#include "c_function.h"
#include "eapi.h"
#include "inpout.h"
#include "wmi.h"

namespace {

using test::instant::queue;

// What the camera's lines read: ready, and no flag latched.
constexpr std::uint8_t kHighByte = 0x30;   ///< of the FT2232H
constexpr std::uint8_t kPins = 0x06;       ///< of a mainboard
constexpr std::uint8_t kStatusByte = 0x60; ///< of a parallel port

constexpr std::uint16_t kSuperIoIndex = 0x2E;
constexpr std::uint16_t kSuperIoData = 0x2F;
constexpr std::uint8_t kPinRegister = 0xED;

std::uint8_t output = 0; ///< of the FT2232H
std::uint8_t answer = 0;
std::uint64_t superIoRegister = 0;
std::uint64_t superIoPins = 0;

template <class T>
T* At(std::uint64_t address) {
    return reinterpret_cast<T*>(static_cast<std::uintptr_t>(address));
}

void Write(const std::uint8_t* command, std::uint64_t length) {
    if (length == 3) {
        output = command[1];
    } else {
        answer = command[0] == 0x83 ? static_cast<std::uint8_t>((output & 0x4F) | kHighByte) : 0;
        ++queue.waiting; // behind what is there
    }
}

std::uint32_t Read(std::uint8_t* bytes, std::uint32_t count) {
    queue.readsOfNothing += queue.waiting == 0 ? 1 : 0;
    ++queue.reads;
    queue.largestRead = std::max(queue.largestRead, count);
    const std::uint32_t delivered = std::min({count, queue.waiting, queue.mostDelivered});
    std::fill_n(bytes, delivered, answer);
    queue.waiting -= delivered;
    return delivered;
}

std::uint32_t ReadPort(std::uint64_t port) {
    if (port != kSuperIoData) {
        return kStatusByte;
    }
    switch (superIoRegister) {
    case 0x20:
        return 0xC4;
    case 0x21:
        return 0x52;
    case kPinRegister:
        return static_cast<std::uint32_t>(superIoPins) | kPins;
    default:
        return 0xFF;
    }
}

} // namespace

// In the place of the rig's: the C functions come from the same rows, and no message is made.

rig::Answerer rig::answerer = nullptr;

std::uint32_t rig::Ask(const VendorFunction& function,
                       std::initializer_list<std::uint64_t> arguments) {
    const std::uint64_t* const in = arguments.begin();
    switch (function.id) {
    case Function::FT_CreateDeviceInfoList:
        *At<std::uint32_t>(in[0]) = 1;
        return FT_OK;
    case Function::FT_GetDeviceInfoList:
        At<FT_DEVICE_LIST_INFO_NODE>(in[0])->Type = FT_DEVICE_2232H;
        At<FT_DEVICE_LIST_INFO_NODE>(in[0])->ID = 0x0403'6010;
        At<FT_DEVICE_LIST_INFO_NODE>(in[0])->SerialNumber[0] = 'B';
        return FT_OK;
    case Function::FT_Open:
        *At<FT_HANDLE>(in[1]) = &output;
        return FT_OK;
    case Function::FT_Write:
        Write(At<std::uint8_t>(in[1]), in[2]);
        *At<std::uint32_t>(in[3]) = static_cast<std::uint32_t>(in[2]);
        return FT_OK;
    case Function::FT_GetQueueStatus:
        *At<std::uint32_t>(in[1]) = queue.waiting;
        return FT_OK;
    case Function::FT_Read:
        *At<std::uint32_t>(in[3]) =
            Read(At<std::uint8_t>(in[1]), static_cast<std::uint32_t>(in[2]));
        return FT_OK;
    case Function::EApiGPIOGetCount:
        *At<std::uint32_t>(in[0]) = 8;
        return EAPI_STATUS_SUCCESS;
    case Function::EApiGPIOGetLevel:
        *At<std::uint32_t>(in[2]) = kPins >> in[0] & 1U;
        return EAPI_STATUS_SUCCESS;
    case Function::Inp32:
        return ReadPort(in[0]);
    case Function::Out32:
        (in[0] == kSuperIoIndex ? superIoRegister : superIoPins) = in[1];
        return 0;
    case Function::IsInpOutDriverOpen:
        return 1;
    default: // success, and nothing to tell
        return 0;
    }
}

/// COM has no WMI here.
extern "C" HRESULT solvane_wbem_get_class_object(REFCLSID, REFIID, void**) {
    return CLASS_E_CLASSNOTAVAILABLE;
}

extern "C" int rig_wbem_interfaces() {
    return 0;
}

extern "C" {
#define D2XX(name, ordinal, parameters, failureModes)                                              \
    VENDOR_C_FUNCTION(FT_CALL, name, Number, parameters)
#define EAPI(name, parameters, failureModes) VENDOR_C_FUNCTION(EAPI_CALL, name, Number, parameters)
#define INPOUT(name, ordinal, result, parameters, failureModes)                                    \
    VENDOR_C_FUNCTION(INPOUT_CALL, name, result, parameters)
#include "vendor_functions.inc"
}
