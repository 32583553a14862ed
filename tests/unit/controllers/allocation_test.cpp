/// With no log function an operation asks for no memory: a host may trigger in a loop for days.

#include <cstdlib>
#include <new>

#include <gtest/gtest.h>

#define SOLVANE_NO_IMPORT
#include <solvane/solvane.h>

#include "host_platform.h"
#include "instant_chip.h"
#include "solvane_eapi.h"
#include "solvane_kontron.h"
#include "solvane_lpt.h"
#include "solvane_usb.h"

namespace {

std::size_t allocations = 0;
std::size_t releases = 0;

} // namespace

void* operator new(std::size_t size) {
    ++allocations;
    if (void* const memory = std::malloc(size != 0 ? size : 1)) {
        return memory;
    }
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept {
    releases += memory != nullptr ? 1 : 0;
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    operator delete(memory);
}

namespace {

using namespace SLV::Internal;

/// Allocations of three rounds of every operation of a configured controller.
template <typename Controller>
std::size_t AllocationsOfEveryOperation(Logger& logger) {
    Controller controller(logger);
    EXPECT_EQ(controller.CheckAvailable(), 0);
    const std::size_t before = allocations;
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
    return allocations - before;
}

/// The port as it is after its controller has found it.
void FoundLpt() {
    s_lptInitialised = true;
    s_lptAvailability = 0;
    s_lptBaseAddress = 0x378;
}

class AllocationTest : public testing::Test {
  protected:
    AllocationTest() { host::Record(false); }
    Logger logger;
};

TEST_F(AllocationTest, NoOperationAllocatesWhileNobodyListens) {
    EXPECT_EQ(AllocationsOfEveryOperation<SolvaneUsb>(logger), 0u);
    EXPECT_EQ(AllocationsOfEveryOperation<SolvaneEApi>(logger), 0u);
    EXPECT_EQ(AllocationsOfEveryOperation<SolvaneKontron>(logger), 0u);
    FoundLpt();
    EXPECT_EQ(AllocationsOfEveryOperation<SolvaneLpt>(logger), 0u);
}

/// Configuring allocates the list of devices, and nothing that grows with a full queue.
TEST_F(AllocationTest, AFullQueueIsDrainedInPiecesOfAtMost64KiB) {
    for (const std::uint32_t left : {1u, 4096u, 4097u, 1'000'000'000u}) {
        SolvaneUsb usb(logger);
        test::instant_chip::LeaveInQueue(left);
        const std::size_t before = allocations;
        EXPECT_EQ(usb.CheckAvailable(), 0);
        EXPECT_EQ(test::instant_chip::InQueue(), 0u) << left;
        EXPECT_LE(test::instant_chip::LargestRead(), 64u * 1024);
        EXPECT_EQ(test::instant_chip::ReadsOfNothing(), 0u) << "such a read waits for ever";
        EXPECT_EQ(allocations - before, 1u) << "the list of devices";
    }
}

TEST_F(AllocationTest, TheMeasurementSeesTheLinesOfAListener) {
    logger.Install(nullptr, [](void*, const char*) {});
    EXPECT_GT(AllocationsOfEveryOperation<SolvaneUsb>(logger), 0u);
    EXPECT_GT(AllocationsOfEveryOperation<SolvaneKontron>(logger), 0u);
}

/// A request whose wait failed is left behind on purpose, and the leak checkers are told so: they
/// would not see one that a run without a failure leaves.
TEST_F(AllocationTest, ARunOfATimerLeavesNothingBehind) {
    static SolvaneTimerHandle timer = 0;
    const auto runOnce = [] {
        const auto stop = [](std::uint64_t, const SolvaneTimerEvent*) { Solvane_StopTimer(timer); };
        EXPECT_EQ(Solvane_RunTimer(timer, 1, stop), 0);
    };
    ASSERT_EQ(Solvane_CreateTimer(&timer, 0), 0);
    runOnce(); // what the stand-in of the driver keeps is there after the first one
    const std::size_t held = allocations - releases;
    runOnce();
    runOnce();
    EXPECT_EQ(allocations - releases, held);
    EXPECT_EQ(Solvane_DisposeTimer(timer), 0);
}

/// A Super I/O controller holds one bank, and lets go of it. Each further Configure() leaves the
/// one before behind, on purpose.
TEST_F(AllocationTest, OnlyAReplacedBankIsLeftBehind) {
    for (int configurations = 1; configurations <= 3; ++configurations) {
        const std::size_t held = allocations - releases;
        {
            SolvaneKontron kontron(logger);
            for (int i = 0; i < configurations; ++i) {
                EXPECT_EQ(kontron.Configure(), 0);
            }
        }
        EXPECT_EQ(allocations - releases - held, static_cast<std::size_t>(configurations - 1));
    }
}

} // namespace
