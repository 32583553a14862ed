#include "instant_chip.h"

#include <algorithm>

#include "d2xx.h"

namespace {

std::uint8_t output = 0;
std::uint8_t answer = 0;
std::uint32_t waiting = 0;
std::uint32_t largestRead = 0;
std::uint32_t reads = 0;
std::uint32_t readsOfNothing = 0;
std::uint32_t most = ~std::uint32_t{0};

constexpr std::uint8_t kInputs = 0x30; // ready, and no flag latched

} // namespace

namespace test::instant_chip {

void LeaveInQueue(std::uint32_t bytes) {
    waiting = bytes;
    largestRead = 0;
    reads = 0;
    readsOfNothing = 0;
    most = ~std::uint32_t{0};
}

void DeliverAtMost(std::uint32_t bytes) {
    most = bytes;
}

std::uint32_t InQueue() {
    return waiting;
}

std::uint32_t LargestRead() {
    return largestRead;
}

std::uint32_t Reads() {
    return reads;
}

std::uint32_t ReadsOfNothing() {
    return readsOfNothing;
}

} // namespace test::instant_chip

FT_STATUS FT_CALL FT_CreateDeviceInfoList(std::uint32_t* deviceCount) {
    *deviceCount = 1;
    return FT_OK;
}

FT_STATUS FT_CALL FT_GetDeviceInfoList(FT_DEVICE_LIST_INFO_NODE* nodes, std::uint32_t*) {
    nodes[0].ID = 0x0403'6010;
    nodes[0].Type = FT_DEVICE_2232H;
    nodes[0].SerialNumber[0] = 'B';
    return FT_OK;
}

FT_STATUS FT_CALL FT_Open(int, FT_HANDLE* handle) {
    *handle = &output;
    return FT_OK;
}

FT_STATUS FT_CALL FT_Write(FT_HANDLE, void* buffer, std::uint32_t bytesToWrite,
                           std::uint32_t* bytesWritten) {
    const auto* const command = static_cast<const std::uint8_t*>(buffer);
    if (bytesToWrite == 3) {
        output = command[1];
    } else {
        const bool highByte = command[0] == 0x83;
        answer = highByte ? static_cast<std::uint8_t>((output & 0x4F) | kInputs) : 0;
        ++waiting; // behind what is there
    }
    *bytesWritten = bytesToWrite;
    return FT_OK;
}

FT_STATUS FT_CALL FT_GetQueueStatus(FT_HANDLE, std::uint32_t* bytesInReceiveQueue) {
    *bytesInReceiveQueue = waiting;
    return FT_OK;
}

FT_STATUS FT_CALL FT_Read(FT_HANDLE, void* buffer, std::uint32_t bytesToRead,
                          std::uint32_t* bytesReturned) {
    readsOfNothing += waiting == 0 ? 1 : 0;
    ++reads;
    *bytesReturned = std::min({bytesToRead, waiting, most});
    std::fill_n(static_cast<std::uint8_t*>(buffer), *bytesReturned, answer);
    largestRead = std::max(largestRead, bytesToRead);
    waiting -= *bytesReturned;
    return FT_OK;
}

FT_STATUS FT_CALL FT_Close(FT_HANDLE) {
    return FT_OK;
}
FT_STATUS FT_CALL FT_ResetDevice(FT_HANDLE) {
    return FT_OK;
}
FT_STATUS FT_CALL FT_SetFlowControl(FT_HANDLE, std::uint16_t, std::uint8_t, std::uint8_t) {
    return FT_OK;
}
FT_STATUS FT_CALL FT_SetChars(FT_HANDLE, std::uint8_t, std::uint8_t, std::uint8_t, std::uint8_t) {
    return FT_OK;
}
FT_STATUS FT_CALL FT_SetTimeouts(FT_HANDLE, std::uint32_t, std::uint32_t) {
    return FT_OK;
}
FT_STATUS FT_CALL FT_SetLatencyTimer(FT_HANDLE, std::uint8_t) {
    return FT_OK;
}
FT_STATUS FT_CALL FT_SetBitMode(FT_HANDLE, std::uint8_t, std::uint8_t) {
    return FT_OK;
}
FT_STATUS FT_CALL FT_SetUSBParameters(FT_HANDLE, std::uint32_t, std::uint32_t) {
    return FT_OK;
}
FT_STATUS FT_CALL FT_ResetPort(FT_HANDLE) {
    return FT_OK;
}
