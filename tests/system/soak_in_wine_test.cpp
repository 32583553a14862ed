/// Some seconds of a busy host in real time (SOLVANE_SOAK_SECONDS, ten minutes in the long mode):
/// random operations and faults on all kinds of hardware, and at the end nothing has grown.

#include "library_fixture.h"

#include <psapi.h>

#include <chrono>
#include <random>

namespace {

using namespace test;

class Soak : public OnTheRig {
  protected:
    /// A random operation; its status.
    int Operate(std::mt19937& random) {
        std::int16_t answer = 0;
        switch (random() % 13) {
        case 0:
            return library.TriggerCapture();
        case 1:
            return library.CheckSystemReady(&answer);
        case 2:
            return library.CheckAndResetMepFlag(&answer);
        case 3:
            return library.WakeCamera();
        case 4:
            return library.EnableForcedBlackUpdate();
        case 5:
            return library.DisableForcedBlackUpdate();
        case 6:
            return library.CheckForcedBlackUpdate(&answer);
        case 7:
            return library.DisableAccessoriesPower();
        case 8:
            return library.CheckAccessoriesPower(&answer);
        case 9:
            return library.EnableCameraPower();
        case 10:
            return library.CheckCameraPower(&answer);
        case 11:
            return library.CloseDevice();
        default:
            return library.RecheckStatus();
        }
    }

    /// Some operations on one kind, one call of which fails; then the hardware is whole again.
    void Round(const char* kind, std::mt19937& random) {
        Load(kind);
        ASSERT_EQ(library.RecheckStatus(), 0);
        const rig_fault fault{"*", rig_calls("*") + 1 + random() % 60, 1, RIG_FAULT_STATUS, 0x1EE,
                              0};
        ASSERT_EQ(rig_add_fault(&fault), 0);
        for (int i = 0; i < 8; ++i) {
            const int status = Operate(random);
            EXPECT_TRUE(status <= 0 && status >= -5) << status;
        }
        rig_clear_faults();
        // A chip whose close failed stays open in the driver until it is replugged.
        rig_unplug(0);
        rig_plug(0);
        ASSERT_EQ(library.RecheckStatus(), 0) << kind;
        EXPECT_EQ(rig_level(RIG_TRIGGER), 0);
        rig_journal_clear();
    }

    struct Usage {
        DWORD handles = 0;
        SIZE_T bytes = 0;
    };

    static Usage CurrentUsage() {
        Usage usage;
        GetProcessHandleCount(GetCurrentProcess(), &usage.handles);
        PROCESS_MEMORY_COUNTERS_EX counters{};
        GetProcessMemoryInfo(GetCurrentProcess(),
                             reinterpret_cast<PROCESS_MEMORY_COUNTERS*>(&counters),
                             sizeof counters);
        usage.bytes = counters.PrivateUsage;
        return usage;
    }
};

TEST_F(Soak, ABusyHostGrowsNothing) {
    const char* const seconds = std::getenv("SOLVANE_SOAK_SECONDS");
    const std::chrono::seconds duration(seconds != nullptr ? std::atoi(seconds) : 5);
    constexpr unsigned kSeed = 6;
    std::mt19937 random(kSeed);
    const char* const kinds[] = {kUsbCamera, kEapiCamera, kSuperIoCamera, kLptCamera};
    const auto rounds = [&](std::chrono::milliseconds time) {
        unsigned count = 0;
        const auto end = std::chrono::steady_clock::now() + time;
        while (std::chrono::steady_clock::now() < end && !HasFatalFailure()) {
            Round(kinds[count++ % std::size(kinds)], random);
        }
        return count;
    };
    rounds(std::chrono::milliseconds(2000)); // what is made once is made
    const Usage before = CurrentUsage();
    const unsigned count = rounds(duration);
    const Usage after = CurrentUsage();
    std::printf("%u rounds in %lld s, seed %u\n", count, static_cast<long long>(duration.count()),
                kSeed);
    EXPECT_LE(after.handles, before.handles);
    EXPECT_LE(after.bytes, before.bytes + 256 * 1024);
    EXPECT_EQ(rig_wbem_interfaces(), 0);
}

} // namespace
