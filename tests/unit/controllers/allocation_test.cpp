/// Operations allocate nothing, with a log function or without: a host may trigger for days, and no
/// lack of memory can come between the two edges of a pulse.

#include <algorithm>

#include <gtest/gtest.h>

#define SOLVANE_NO_IMPORT
#include <solvane/solvane.h>

#include "failing_memory.h"
#include "host_platform.h"
#include "instant_hardware.h"
#include "solvane_eapi.h"
#include "solvane_kontron.h"
#include "solvane_lpt.h"
#include "solvane_usb.h"

namespace {

using namespace SLV::Internal;
using test::instant::queue;

/// Allocations of three rounds of every operation of a configured controller.
template <typename Controller>
std::size_t AllocationsOfEveryOperation(Logger& logger) {
    Controller controller(logger);
    EXPECT_EQ(controller.CheckAvailable(), 0);
    const std::size_t before = Allocations();
    for (int round = 0; round < 3; ++round) {
        short out = 0;
        controller.CheckPowerControlAvailable();
        EXPECT_EQ(controller.TriggerCapture(), 0);
        controller.EnableForcedBlackUpdate();
        controller.DisableForcedBlackUpdate();
        controller.CheckAndResetMepFlag(&out);
        controller.CheckSystemReady(&out);
        controller.CheckForcedBlackUpdate(&out);
        controller.WakeCamera();
        controller.EnableCameraPower();
        controller.DisableCameraPower();
        controller.CheckCameraPower(&out);
        controller.EnableAccessoriesPower();
        controller.DisableAccessoriesPower();
        controller.CheckAccessoriesPower(&out);
    }
    controller.CloseDevice();
    return Allocations() - before;
}

void FoundLpt() {
    s_lptInitialised = true;
    s_lptAvailability = 0;
    s_lptBaseAddress = 0x378;
}

class AllocationTest : public testing::Test {
  protected:
    AllocationTest() { host::Record(false); }

    void ExpectNoAllocations() {
        EXPECT_EQ(AllocationsOfEveryOperation<SolvaneUsb>(logger), 0u);
        EXPECT_EQ(AllocationsOfEveryOperation<SolvaneEApi>(logger), 0u);
        EXPECT_EQ(AllocationsOfEveryOperation<SolvaneKontron>(logger), 0u);
        FoundLpt();
        EXPECT_EQ(AllocationsOfEveryOperation<SolvaneLpt>(logger), 0u);
    }

    Logger logger;
};

TEST_F(AllocationTest, NoOperationAllocates) {
    ExpectNoAllocations();
    logger.Install(nullptr, [](void*, const char*) {});
    ExpectNoAllocations();
}

/// Configuring allocates the list of devices, and nothing that grows with a full queue.
TEST_F(AllocationTest, AFullQueueIsDrainedInPiecesOf64KiB) {
    for (const std::uint32_t left : {1u, 4096u, 4097u, 1'000'000'000u}) {
        SolvaneUsb usb(logger);
        queue = {.waiting = left};
        const std::size_t before = Allocations();
        EXPECT_EQ(usb.CheckAvailable(), 0);
        EXPECT_EQ(queue.waiting, 0u) << left;
        EXPECT_EQ(queue.largestRead, std::min(left, 64u * 1024));
        EXPECT_EQ(queue.readsOfNothing, 0u) << "such a read waits for ever";
        EXPECT_EQ(Allocations() - before, 1u) << "the list of devices";
    }
}

/// Lack of memory is reported as the failure of that step, and the next attempt succeeds.
template <typename Controller>
void ExpectNoHardwareWithoutMemory(Logger& logger) {
    Controller controller(logger);
    {
        const FailingMemory memory(1, FailingMemory::kForEver);
        EXPECT_EQ(controller.CheckAvailable(), -3);
        EXPECT_EQ(memory.Refusals(), 1u);
    }
    EXPECT_EQ(controller.CheckAvailable(), 0);
}

TEST_F(AllocationTest, WithoutMemoryThereIsNoHardware) {
    ExpectNoHardwareWithoutMemory<SolvaneUsb>(logger);     // the list of devices
    ExpectNoHardwareWithoutMemory<SolvaneKontron>(logger); // the bank
}

/// Another read might wait for ever.
TEST_F(AllocationTest, AShortReadEndsTheDrain) {
    SolvaneUsb usb(logger);
    queue = {.waiting = 3, .mostDelivered = 2};
    usb.CheckAvailable();
    EXPECT_EQ(queue.reads, 1u);
    queue = {};
}

/// The leak checkers ignore requests, because one whose wait failed is leaked on purpose; so a leak
/// without a failure is looked for here.
TEST_F(AllocationTest, ARunOfATimerLeavesNothingBehind) {
    static SolvaneTimerHandle timer = 0;
    const auto runOnce = [] {
        const auto stop = [](std::uint64_t, const SolvaneTimerEvent*) { Solvane_StopTimer(timer); };
        EXPECT_EQ(Solvane_RunTimer(timer, 1, stop), 0);
    };
    ASSERT_EQ(Solvane_CreateTimer(&timer, 0), 0);
    runOnce(); // the driver's stand-in allocates in the first run
    const std::size_t held = Allocations() - Releases();
    runOnce();
    runOnce();
    EXPECT_EQ(Allocations() - Releases(), held);
    EXPECT_EQ(Solvane_DisposeTimer(timer), 0);
}

/// Each further Configure() leaks the bank before, on purpose.
TEST_F(AllocationTest, OnlyAReplacedBankIsLeftBehind) {
    for (int configurations = 1; configurations <= 3; ++configurations) {
        const std::size_t held = Allocations() - Releases();
        {
            SolvaneKontron kontron(logger);
            for (int i = 0; i < configurations; ++i) {
                EXPECT_EQ(kontron.Configure(), 0);
            }
        }
        EXPECT_EQ(Allocations() - Releases() - held, static_cast<std::size_t>(configurations - 1));
    }
}

} // namespace
