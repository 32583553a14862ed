/// Timers over a scripted driver.
#pragma once

#define SOLVANE_NO_IMPORT
#include <solvane/solvane.h>

#include "kernel_stand_in.h"
#include "on_the_rig.h"

namespace test {

using host::kernel::Answer;
using host::kernel::script;

/// The driver's answer to the creation of a timer.
inline Answer Created(std::uint8_t timerId, std::uint8_t initialStatus = 0) {
    return {0,
            {timerId, 0, 0, 0, 0, 0, 0, 0, initialStatus, 0, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE}};
}

/// The driver's event: a status and four words.
inline Answer Event(std::int16_t status, std::uint16_t firstWord = 0) {
    const auto low = [](int word) { return static_cast<std::uint8_t>(word & 0xFF); };
    const auto high = [](int word) { return static_cast<std::uint8_t>(word >> 8 & 0xFF); };
    return {0,
            {0xEE,
             0xEE,
             0xEE,
             0xEE,
             0xEE,
             0xEE,
             0xEE,
             0xEE,
             low(status),
             high(status),
             low(firstWord),
             high(firstWord),
             2,
             0x20,
             3,
             0x30,
             4,
             0x40,
             0xEE,
             0xEE,
             0xEE,
             0xEE,
             0xEE,
             0xEE}};
}

/// A request that fails.
inline Answer Failed(DWORD error) {
    return {error, {}};
}

class OnADriver : public OnTheRig {
  protected:
    OnADriver() {
        host::kernel::Reset();
        received.clear();
        stopAfter = 1;
        timer = 0;
        SLV::Internal::s_logger.Install(nullptr, LogToJournal);
    }
    ~OnADriver() override {
        SLV::Internal::s_logger.Install(nullptr, nullptr);
        EXPECT_EQ(host::kernel::OpenHandles(), 0u);
        EXPECT_EQ(host::kernel::Misuses(), 0);
        EXPECT_EQ(host::kernel::AllocatedTexts(), 0);
        host::kernel::Reset();
    }

    /// Creates a timer; the journal begins after that.
    void Create(std::uint64_t userContext = 0x1122334455667788) {
        ASSERT_EQ(Solvane_CreateTimer(&timer, userContext), 0);
        TakeJournal();
    }

    static void Dispose() {
        EXPECT_EQ(Solvane_DisposeTimer(timer), 0);
        TakeJournal();
    }

    struct Received {
        std::uint64_t userContext;
        SolvaneTimerEvent event;
    };

    /// Keeps each event, and stops the timer from inside after `stopAfter` of them.
    static void SOLVANE_CALL Receive(std::uint64_t userContext, const SolvaneTimerEvent* event) {
        rig_note("event");
        received.push_back({userContext, *event});
        if (received.size() == stopAfter) {
            EXPECT_EQ(Solvane_StopTimer(timer), 0);
        }
    }

    static inline std::vector<Received> received;
    static inline std::size_t stopAfter = 1;
    static inline SolvaneTimerHandle timer = 0;
};

// The requests to the driver, as the journal shows them.

inline std::string CreateRequest(const std::string& parameter) {
    return "DeviceIoControl(0x9c412400, [" + parameter + "], out 16, at once)";
}

inline std::string WaitRequest(const std::string& id) {
    return "DeviceIoControl(0x9c412408, [" + id + " 00 00 00 00 00 00 00], out 24, overlapped)";
}

inline std::string DeleteRequest(const std::string& id) {
    return "DeviceIoControl(0x9c412404, [" + id + " 00 00 00 00 00 00 00], null 0, at once)";
}

inline std::string SentenceRequest(unsigned error) {
    return "FormatMessageW(0x1300, null, " + std::to_string(error) + ", 0x400, 0, null)";
}

inline const std::string kOpenDevice =
    "CreateFileW(\\\\.\\SolvaneDevice, 0xc0000000, 0, null, 3, 0x40000000, null)";
inline const std::string kCreateEvent = "CreateEventW(null, 0, 0, null)";
inline const std::string kWait = "WaitForSingleObject(open, INFINITE)";
inline const std::string kClose = "CloseHandle(open)";
inline const std::string kNotStarted = "log: Error. Solvane_StopTimer() timer was not started. ";

} // namespace test
