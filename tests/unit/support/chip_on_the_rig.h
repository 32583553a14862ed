/// What the chip is asked in each elementary step, as the journal shows it.
#pragma once

#include "d2xx.h"
#include "on_the_rig.h"

namespace test {

inline constexpr FT_STATUS kIoError = 4;

inline std::string Log(const std::string& text) {
    return "log: " + text;
}

/// One byte is asked for, waited for and read.
inline Journal Read(const std::string& opcode, const std::string& byte) {
    return {"FT_Write(SLV1B, [" + opcode + "]) -> 0, 1", "Sleep(2)",
            "FT_GetQueueStatus(SLV1B) -> 0, 1", "FT_Read(SLV1B, 1) -> 0, [" + byte + "]"};
}

inline Journal ReadHigh(const std::string& byte) {
    return Read("83", byte);
}

inline Journal ReadLow(const std::string& byte) {
    return Read("81", byte);
}

/// The high byte goes out and is logged, behind whatever dots are pending.
inline Journal WriteHigh(const std::string& byte, const std::string& tokens,
                         const std::string& dots = "") {
    return {"FT_Write(SLV1B, [82 " + byte + " 4f]) -> 0, 3", "Sleep(2)",
            Log(dots + " <<< write bits: High Byte (BC)" + tokens + " 0x" + byte)};
}

/// FindDevice on a rig with the one camera chip, up to its result.
inline Journal FindOneChip() {
    return {"FT_CreateDeviceInfoList() -> 0, 2", Log("Total FTDI devices available:  2"),
            "FT_GetDeviceInfoList(2) -> 0, 2"};
}

/// FindDevice while no chip is plugged in.
inline Journal FindNoChip() {
    return {"FT_CreateDeviceInfoList() -> 0, 0", Log("There are no FTDI devices installed")};
}

/// From the open to the mode change.
inline Journal OpenAndInitialise() {
    return {Log("Open device #1..."),
            "FT_Open(1) -> 0",
            "FT_ResetDevice(SLV1B) -> 0",
            "FT_GetQueueStatus(SLV1B) -> 0, 0",
            "FT_SetUSBParameters(SLV1B, 64, 64) -> 0",
            "FT_SetChars(SLV1B, 0, 0, 0, 0) -> 0",
            "FT_SetTimeouts(SLV1B, 0, 5000) -> 0",
            "FT_SetLatencyTimer(SLV1B, 1) -> 0",
            "FT_SetFlowControl(SLV1B, 0x0100, 0, 0) -> 0",
            "FT_SetBitMode(SLV1B, 0, 0) -> 0",
            "FT_SetBitMode(SLV1B, 0, 2) -> 0",
            "Sleep(50)"};
}

} // namespace test
