/// FTDI D2XX: the calls of FTD2XX.dll that reach an FT2232H, and nothing else of that library.
/// Layouts, ordinals and numbers are those of the published D2XX Programmer's Guide.
#pragma once

#include <cstdint>

#if defined(_WIN32)
#define FT_CALL __stdcall
#else
#define FT_CALL
#endif

extern "C" {

using FT_STATUS = std::uint32_t;
using FT_HANDLE = void*;

inline constexpr FT_STATUS FT_OK = 0;
inline constexpr FT_STATUS FT_INSUFFICIENT_RESOURCES = 5;
inline constexpr FT_STATUS FT_OTHER_ERROR = 18;

inline constexpr std::uint32_t FT_DEVICE_2232H = 6;
inline constexpr std::uint16_t FT_FLOW_RTS_CTS = 0x0100;
inline constexpr std::uint8_t FT_BITMODE_RESET = 0;
inline constexpr std::uint8_t FT_BITMODE_MPSSE = 2;

struct FT_DEVICE_LIST_INFO_NODE {
    std::uint32_t Flags;
    std::uint32_t Type;
    std::uint32_t ID; ///< vendor in the high 16 bits, product in the low 16
    std::uint32_t LocId;
    char SerialNumber[16]; ///< zero-terminated, unless all 16 are used
    char Description[64];  ///< likewise
    FT_HANDLE ftHandle;
};

FT_STATUS FT_CALL FT_Open(int deviceIndex, FT_HANDLE* handle);
FT_STATUS FT_CALL FT_Close(FT_HANDLE handle);
FT_STATUS FT_CALL FT_Read(FT_HANDLE handle, void* buffer, std::uint32_t bytesToRead,
                          std::uint32_t* bytesReturned);
FT_STATUS FT_CALL FT_Write(FT_HANDLE handle, void* buffer, std::uint32_t bytesToWrite,
                           std::uint32_t* bytesWritten);
FT_STATUS FT_CALL FT_ResetDevice(FT_HANDLE handle);
FT_STATUS FT_CALL FT_SetFlowControl(FT_HANDLE handle, std::uint16_t flowControl, std::uint8_t xOn,
                                    std::uint8_t xOff);
FT_STATUS FT_CALL FT_SetChars(FT_HANDLE handle, std::uint8_t eventCharacter,
                              std::uint8_t eventEnabled, std::uint8_t errorCharacter,
                              std::uint8_t errorEnabled);
/// Both in milliseconds; a read time-out of 0 waits for ever.
FT_STATUS FT_CALL FT_SetTimeouts(FT_HANDLE handle, std::uint32_t readTimeout,
                                 std::uint32_t writeTimeout);
FT_STATUS FT_CALL FT_GetQueueStatus(FT_HANDLE handle, std::uint32_t* bytesInReceiveQueue);
/// In milliseconds.
FT_STATUS FT_CALL FT_SetLatencyTimer(FT_HANDLE handle, std::uint8_t latency);
FT_STATUS FT_CALL FT_SetBitMode(FT_HANDLE handle, std::uint8_t mask, std::uint8_t mode);
FT_STATUS FT_CALL FT_SetUSBParameters(FT_HANDLE handle, std::uint32_t inTransferSize,
                                      std::uint32_t outTransferSize);
FT_STATUS FT_CALL FT_ResetPort(FT_HANDLE handle);
FT_STATUS FT_CALL FT_CreateDeviceInfoList(std::uint32_t* deviceCount);
/// `deviceCount`: in, the nodes that `nodes` has room for; out, the nodes filled.
FT_STATUS FT_CALL FT_GetDeviceInfoList(FT_DEVICE_LIST_INFO_NODE* nodes, std::uint32_t* deviceCount);

} // extern "C"

static_assert(sizeof(void*) != 8 || sizeof(FT_DEVICE_LIST_INFO_NODE) == 104,
              "the layout that FTD2XX.dll fills");
