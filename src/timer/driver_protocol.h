/// The requests of the library to the kernel driver, and its replies.
#pragma once

#include <cstddef>
#include <cstdint>

namespace Trel::SolvaneDriverLib {

inline constexpr wchar_t kDeviceName[] = L"\\\\.\\SolvaneDevice";

/// A control code as <winioctl.h> builds it: METHOD_BUFFERED, FILE_ANY_ACCESS.
constexpr std::uint32_t ControlCode(std::uint32_t function) {
    constexpr std::uint32_t kDeviceType = 0x9C41;
    return kDeviceType << 16 | function << 2;
}

/// In: the 32-bit timer parameter. Out: TimerCreateReply.
inline constexpr std::uint32_t IOCTL_SOLVANE_TIMER_CREATE = ControlCode(0x900);
/// In: the timer's id. Out: nothing.
inline constexpr std::uint32_t IOCTL_SOLVANE_TIMER_DELETE = ControlCode(0x901);
/// In: the timer's id. Out: TimerWaitReply, when the driver has the timer's next event.
inline constexpr std::uint32_t IOCTL_SOLVANE_TIMER_WAIT = ControlCode(0x902);

static_assert(IOCTL_SOLVANE_TIMER_CREATE == 0x9C41'2400);
static_assert(IOCTL_SOLVANE_TIMER_DELETE == 0x9C41'2404);
static_assert(IOCTL_SOLVANE_TIMER_WAIT == 0x9C41'2408);

#pragma pack(push, 1)

struct TimerCreateReply {
    std::uint64_t timerId;
    std::uint16_t initialStatus; ///< 0: the driver's GPIO is ready
    std::uint8_t unused[6];
};

struct TimerWaitReply {
    std::uint8_t unused[8];
    std::int16_t status; ///< of the GPIO trigger that the driver performed
    std::uint16_t data[4];
    std::uint8_t alsoUnused[6];
};

#pragma pack(pop)

static_assert(sizeof(TimerCreateReply) == 16);
static_assert(offsetof(TimerCreateReply, initialStatus) == 8);
static_assert(sizeof(TimerWaitReply) == 24);
static_assert(offsetof(TimerWaitReply, status) == 8);
static_assert(offsetof(TimerWaitReply, data) == 10);

} // namespace Trel::SolvaneDriverLib
