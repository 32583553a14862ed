/// A fresh rig for every test, and short words for what tests do with it.
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

/// A byte that stands for "not written".
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

/// The entries of the journal since the last look, of one kind.
Lines Take(rig_entry_kind kind);
/// The same of all kinds.
Lines TakeAll();

/// Opens a device; null when that fails.
FT_HANDLE Open(int index);
/// Channel B with its pins under command and answers without delay.
FT_HANDLE OpenPins(int index = 1);

FT_STATUS Write(FT_HANDLE handle, Bytes bytes);
/// What a read of `count` bytes delivers.
Bytes Read(FT_HANDLE handle, std::uint32_t count);
/// Asks for the levels of a pin group.
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

/// What a waveform tells behind its header and its first levels: "#2000 1!", where #2000 is a time
/// in µs and ! is the trigger, " ready, # mep, $ clear_mep, % dark, & and ' the two powers.
std::string ChangesIn(const std::string& path);

} // namespace test
