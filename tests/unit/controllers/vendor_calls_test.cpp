/// What each operation costs on healthy, configured hardware. A call over USB takes a frame or more
/// of 125 us, and a port access a microsecond of the bus, so a call too many is time that a host
/// sees.

#include <functional>

#include "controller_operations.h"
#include "controller_ptr.h"
#include "host_platform.h"
#include "on_the_rig.h"
#include "solvane_eapi.h"
#include "solvane_kontron.h"
#include "solvane_lpt.h"
#include "solvane_usb.h"

namespace {

using namespace SLV::Internal;
using namespace test;

struct Cost {
    unsigned calls;        ///< of the vendor's functions
    unsigned sleeps;       ///< Sleep(0) too
    unsigned milliseconds; ///< slept altogether
};

/// A kind of hardware, and an operation on it.
struct Kind {
    const char* name;
    const char* scenario;
    ControllerFactory make;
};

const Kind kKinds[] = {{"FT2232H", kUsbCamera, MakeController<SolvaneUsb>},
                       {"Eapi", kEapiCamera, MakeController<SolvaneEApi>},
                       {"SuperIo", kSuperIoCamera, MakeController<SolvaneKontron>},
                       {"Lpt", kLptCamera, MakeController<SolvaneLpt>}};
constexpr std::size_t kKindCount = std::size(kKinds);

/// The flag is latched after the controller was configured, which may clear it.
const char* const kLatched = "[[event]]\nat_ms = 1000\naction = 'latch-mep'\n";

struct Row {
    Op operation;
    const char* camera; ///< what the scenario says of it
    Cost costs[kKindCount];
};

// On the FT2232H a read is three calls and one sleep of 2 ms, a write one call and one sleep of
// 2 ms. On the Embedded API each is one call; on the Super I/O chip a read is two port accesses,
// and a write four; on the parallel port each is one port access, and a bit is changed by a read
// and a write.
const Row kRows[] = {
    {Op::CheckAvailable, "", {{0, 0, 0}, {0, 0, 0}, {0, 0, 0}, {0, 0, 0}}},
    {Op::CheckPowerControlAvailable, "", {{0, 0, 0}, {0, 0, 0}, {0, 0, 0}, {0, 0, 0}}},
    {Op::TriggerCapture, "", {{8, 5, 18}, {4, 1, 10}, {12, 1, 10}, {5, 1, 10}}},
    {Op::TriggerCapture, kLatched, {{10, 8, 22}, {6, 2, 10}, {20, 2, 10}, {8, 2, 10}}},
    {Op::TriggerCapture, "[camera]\nready = false\n", {{3, 1, 2}, {1, 0, 0}, {2, 0, 0}, {1, 0, 0}}},
    {Op::EnableForcedBlackUpdate, "", {{1, 1, 2}, {1, 0, 0}, {4, 0, 0}, {2, 0, 0}}},
    {Op::DisableForcedBlackUpdate, "", {{1, 1, 2}, {1, 0, 0}, {4, 0, 0}, {2, 0, 0}}},
    {Op::CheckAndResetMepFlag, "", {{3, 1, 2}, {1, 0, 0}, {2, 0, 0}, {1, 0, 0}}},
    {Op::CheckAndResetMepFlag, kLatched, {{5, 4, 6}, {3, 1, 0}, {10, 1, 0}, {4, 1, 0}}},
    {Op::CheckSystemReady, "", {{3, 1, 2}, {1, 0, 0}, {2, 0, 0}, {1, 0, 0}}},
    {Op::CheckForcedBlackUpdate, "", {{3, 1, 2}, {1, 0, 0}, {2, 0, 0}, {1, 0, 0}}},
    {Op::WakeCamera, "", {{8, 5, 18}, {3, 1, 10}, {10, 1, 10}, {3, 1, 10}}},
    {Op::EnableCameraPower, "", {{1, 1, 2}, {1, 0, 0}, {4, 0, 0}, {2, 0, 0}}},
    {Op::DisableCameraPower, "", {{1, 1, 2}, {1, 0, 0}, {4, 0, 0}, {2, 0, 0}}},
    {Op::CheckCameraPower, "", {{3, 1, 2}, {1, 0, 0}, {2, 0, 0}, {1, 0, 0}}},
    {Op::EnableAccessoriesPower, "", {{1, 1, 2}, {1, 0, 0}, {4, 0, 0}, {2, 0, 0}}},
    {Op::DisableAccessoriesPower, "", {{1, 1, 2}, {1, 0, 0}, {4, 0, 0}, {2, 0, 0}}},
    {Op::CheckAccessoriesPower, "", {{3, 1, 2}, {0, 0, 0}, {0, 0, 0}, {1, 0, 0}}},
    {Op::CloseDevice, "", {{1, 0, 0}, {0, 0, 0}, {0, 0, 0}, {0, 0, 0}}},
    {Op::ResetComPort, "", {{5, 0, 0}, {0, 0, 0}, {0, 0, 0}, {0, 0, 0}}},
};

class VendorCallsTest : public OnTheRig {
  protected:
    /// What a piece of work asks of the hardware.
    static Cost CostOf(const std::function<void()>& work) {
        TakeJournal();
        const std::uint32_t callsBefore = rig_calls(nullptr);
        const std::uint64_t timeBefore = rig_time();
        work();
        const Journal journal = TakeJournal();
        const auto sleeps =
            std::count_if(journal.begin(), journal.end(),
                          [](const std::string& entry) { return entry.starts_with("Sleep("); });
        return {rig_calls(nullptr) - callsBefore, static_cast<unsigned>(sleeps),
                static_cast<unsigned>((rig_time() - timeBefore) / 1'000'000)};
    }

    static void ExpectEqual(const Cost& actual, const Cost& expected, const std::string& what) {
        EXPECT_EQ(actual.calls, expected.calls) << what;
        EXPECT_EQ(actual.sleeps, expected.sleeps) << what;
        EXPECT_EQ(actual.milliseconds, expected.milliseconds) << what;
    }
};

TEST_F(VendorCallsTest, AreAsManyAsTheTableSays) {
    for (std::size_t kind = 0; kind < kKindCount; ++kind) {
        for (const Row& row : kRows) {
            Load(std::string(kKinds[kind].scenario) + row.camera);
            const ControllerPtr controller = kKinds[kind].make(logger);
            ASSERT_EQ(controller->CheckAvailable(), 0);
            host::Advance(1'000'000'000);
            short out = 0;
            const Operation& operation = Of(row.operation);
            ExpectEqual(CostOf([&] { operation.run(*controller, &out); }), row.costs[kind],
                        std::string(kKinds[kind].name) + ", " + operation.name + row.camera);
        }
    }
}

TEST_F(VendorCallsTest, OfConfiguringAreAsMany) {
    const Cost costs[kKindCount] = {
        // Two list calls, open, nine calls of initialisation, then a read, a write and a read.
        {2 + 1 + 9 + 3 + 1 + 3, 4, 56},
        // Initialise, count, eight directions, then four lines set to rest.
        {1 + 1 + 8 + 4, 0, 0},
        // The driver, two keys, two ids, two keys, the logical device, the banks, four registers,
        // directions, clear MEP, trigger, then four lines set to rest.
        {1 + 2 + 4 + 2 + 2 + 2 + 8 + 4 + 4 + 4 + 4 * 4, 0, 0},
        // Nine calls of WMI; the driver, two probes of six accesses, the rest state's two clears
        // and one pulse.
        {9 + 1 + 6 + 6 + 2 + 3 + 2, 6, 0}};
    for (std::size_t kind = 0; kind < kKindCount; ++kind) {
        Load(kKinds[kind].scenario);
        const ControllerPtr controller = kKinds[kind].make(logger);
        ExpectEqual(CostOf([&] { EXPECT_EQ(controller->CheckAvailable(), 0); }), costs[kind],
                    kKinds[kind].name);
    }
}

} // namespace
