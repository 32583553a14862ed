/// A fresh rig for every test, and short functions for what tests often do.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <solvane/rig.h>

#include "d2xx.h"
#include "host_platform.h"

namespace test {

using Bytes = std::vector<std::uint8_t>;
using Lines = std::vector<std::string>;

// Statuses of D2XX that d2xx.h has no names for.
inline constexpr FT_STATUS kInvalidHandle = 1;
inline constexpr FT_STATUS kDeviceNotFound = 2;
inline constexpr FT_STATUS kDeviceNotOpened = 3;
inline constexpr FT_STATUS kIoError = 4;
inline constexpr FT_STATUS kInvalidParameter = 6;

/// One FT2232H; further tables can be appended.
inline const std::string kOneChip = "[[usb]]\nchip = 'FT2232H'\nserial = 'SLV1'\n";

/// A value that means "not written".
inline constexpr std::uint32_t kUntouched = 0xa5a5a5a5;

class BenchRig : public ::testing::Test {
  protected:
    BenchRig() {
        host::Record(false);
        Load(kOneChip);
    }

    static void Load(const std::string& toml) {
        ASSERT_EQ(rig_load(toml.c_str()), 0) << rig_error();
    }

    static void Advance(std::uint64_t milliseconds) { host::Advance(milliseconds * 1'000'000); }
    static std::uint64_t Milliseconds() { return rig_time() / 1'000'000; }
};

/// Takes the journal entries of one kind since the last call.
Lines Take(rig_entry_kind kind);
/// Takes the journal entries of all kinds since the last call.
Lines TakeAll();

/// Opens a device; null on failure.
FT_HANDLE Open(int index);
/// Opens channel B, ready for pin commands, with the latency timer at its shortest.
FT_HANDLE OpenPins(int index = 1);

FT_STATUS Write(FT_HANDLE handle, Bytes bytes);
/// Reads up to `count` bytes.
Bytes Read(FT_HANDLE handle, std::uint32_t count);
/// Reads the levels of eight pins.
std::uint8_t HighByte(FT_HANDLE pins);
std::uint8_t LowByte(FT_HANDLE pins);
std::uint32_t QueueLength(FT_HANDLE handle);

std::vector<FT_DEVICE_LIST_INFO_NODE> Devices();

int AddFault(const char* function, std::uint32_t kind, std::uint32_t status, std::uint32_t count,
             std::uint32_t call = 1, std::uint32_t times = 1);

// High byte at rest: camera and accessories powered, no clear-MEP, no trigger.
inline constexpr std::uint8_t kRest = 0x40;
inline constexpr std::uint8_t kTrigger = 0x01;
inline constexpr std::uint8_t kDark = 0x02;
inline constexpr std::uint8_t kCameraOff = 0x04;
inline constexpr std::uint8_t kAccessoriesOff = 0x08;
inline constexpr std::uint8_t kNoClearMep = 0x40;
inline constexpr std::uint8_t kOutputs = 0x4f;

/// Sets the outputs of the high byte.
void Drive(FT_HANDLE pins, int value);

std::string ReadText(const std::string& path);

/// The changes in a waveform file, after its header and initial levels: "#2000 1!", where #2000 is
/// a time in µs and ! is the trigger, " ready, # mep, $ clear_mep, % dark, & and ' the two powers.
std::string ChangesIn(const std::string& path);

} // namespace test
