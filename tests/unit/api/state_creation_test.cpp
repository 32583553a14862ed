/// The state is created once, however many threads ask for it first.

#define SOLVANE_NO_IMPORT
#include <solvane/solvane.h>

#include <atomic>
#include <chrono>
#include <latch>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "library_state.h"

namespace {

std::atomic<int> made{0};

/// Slow and unsynchronised in its construction, so that a thread that sees it half constructed is
/// caught.
class SlowController final : public SLV::Internal::SolvaneInterface {
  public:
    explicit SlowController(SLV::Internal::Logger&) { ++made; }
    short CheckAvailable() override {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        asked = true;
        return 0;
    }
    short TriggerCapture() override { return asked ? short{0} : short{-1}; }
    short EnableForcedBlackUpdate() override { return 0; }
    short DisableForcedBlackUpdate() override { return 0; }
    short CheckAndResetMepFlag(short*) override { return 0; }
    short CheckSystemReady(short*) override { return 0; }
    short CheckForcedBlackUpdate(short*) override { return 0; }
    short WakeCamera() override { return 0; }
    short EnableCameraPower() override { return 0; }
    short DisableCameraPower() override { return 0; }
    short CheckCameraPower(short*) override { return 0; }
    short EnableAccessoriesPower() override { return 0; }
    short DisableAccessoriesPower() override { return 0; }
    short CheckAccessoriesPower(short*) override { return 0; }

  private:
    bool asked = false;
};

} // namespace

std::vector<SLV::Internal::ControllerFactory> SLV::Internal::MakeCandidates() {
    return {MakeController<SlowController>};
}

TEST(StateCreation, EightFirstCallersWaitForTheOneThatCreates) {
    constexpr int kThreads = 8;
    std::latch start(kThreads);
    std::atomic<int> succeeded{0};
    {
        std::vector<std::jthread> threads;
        for (int i = 0; i < kThreads; ++i) {
            threads.emplace_back([&] {
                start.arrive_and_wait();
                succeeded += Solvane_TriggerCapture() == 0 ? 1 : 0;
            });
        }
    }
    EXPECT_EQ(made, 1);
    EXPECT_EQ(succeeded, kThreads) << "a caller saw the state before it was complete";
}
