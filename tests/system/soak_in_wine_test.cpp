/// Some seconds of a busy host in real time (SOLVANE_SOAK_SECONDS, ten minutes in the long mode):
/// random operations and faults on all kinds of hardware leak nothing.

#include "library_fixture.h"

#include <psapi.h>

#include <chrono>
#include <random>

namespace {

using namespace test;

class Soak : public OnTheRig {
  protected:
    /// The status of a random operation.
    int Operate(std::mt19937& random) {
#define SOLVANE_COMMAND(name, ...)                                                                 \
    [](const LibraryFunctions& functions, std::int16_t*) { return functions.name(); },
#define SOLVANE_QUESTION(name, ...)                                                                \
    [](const LibraryFunctions& functions, std::int16_t* out) { return functions.name(out); },
        using Call = std::int16_t (*)(const LibraryFunctions&, std::int16_t*);
        static constexpr Call calls[] = {SOLVANE_CONTROLLER_OPERATIONS(
            SOLVANE_COMMAND, SOLVANE_QUESTION) SOLVANE_COMMAND(RecheckStatus)};
        std::int16_t answer = 0;
        return calls[random() % std::size(calls)](library, &answer);
    }

    /// Some operations on one kind of hardware, one vendor call of which fails.
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
    rounds(std::chrono::milliseconds(2000)); // one-time allocations
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
