/// With no log function an operation asks for no memory: a host may trigger in a loop for days.

#include <cstdlib>
#include <new>

#include <gtest/gtest.h>

#include "host_platform.h"
#include "instant_chip.h"
#include "solvane_usb.h"

namespace {

std::size_t allocations = 0;

} // namespace

void* operator new(std::size_t size) {
    ++allocations;
    if (void* const memory = std::malloc(size != 0 ? size : 1)) {
        return memory;
    }
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

namespace {

using namespace SLV::Internal;

/// Allocations of three rounds of every operation of a configured controller.
std::size_t AllocationsOfEveryOperation(Logger& logger) {
    SolvaneUsb usb(logger);
    EXPECT_EQ(usb.CheckAvailable(), 0);
    const std::size_t before = allocations;
    for (int round = 0; round < 3; ++round) {
        short out = 0;
        usb.CheckPowerControlAvailable();
        usb.TriggerCapture();
        usb.EnableForcedBlackUpdate();
        usb.DisableForcedBlackUpdate();
        usb.CheckAndResetMepFlag(&out);
        usb.CheckSystemReady(&out);
        usb.CheckForcedBlackUpdate(&out);
        usb.WakeCamera();
        usb.EnableCameraPower();
        usb.DisableCameraPower();
        usb.CheckCameraPower(&out);
        usb.EnableAccessoriesPower();
        usb.DisableAccessoriesPower();
        usb.CheckAccessoriesPower(&out);
    }
    usb.CloseDevice();
    return allocations - before;
}

class AllocationTest : public testing::Test {
  protected:
    AllocationTest() { host::Record(false); }
    Logger logger;
};

TEST_F(AllocationTest, NoOperationAllocatesWhileNobodyListens) {
    EXPECT_EQ(AllocationsOfEveryOperation(logger), 0u);
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
        EXPECT_EQ(allocations - before, 1u) << "the list of devices";
    }
}

TEST_F(AllocationTest, TheMeasurementSeesTheLinesOfAListener) {
    logger.Install(nullptr, [](void*, const char*) {});
    EXPECT_GT(AllocationsOfEveryOperation(logger), 0u);
}

} // namespace
