/// The chip is pulled out and put back, between the operations of the real DLL and inside them.

#include "library_fixture.h"

namespace {

using namespace test;
using testing::Contains;

class Unplug : public OnTheRig {
  protected:
    /// Pulls the plug just before the n-th call of a function, and puts it back after some time.
    void Interrupt(const char* function, int call, int plugAgainMilliseconds) {
        Load(std::string(kUsbCamera) + "[[event]]\naction = \"unplug\"\nchip = 0\nbefore = \"" +
             function + "\"\ncall = " + std::to_string(call) + "\n" +
             "[[event]]\naction = \"plug\"\nchip = 0\nat_ms = " +
             std::to_string(plugAgainMilliseconds) + "\n");
    }
};

TEST_F(Unplug, BetweenOperationsTheNextOneOpensTheReturnedChip) {
    EXPECT_EQ(library.TriggerCapture(), 0);
    rig_unplug(0);
    rig_plug(0);
    Listen();
    EXPECT_EQ(library.EnableForcedBlackUpdate(), 0);
    EXPECT_THAT(TakeTexts(), Contains(" WriteBits status (after restore): 0"));
}

TEST_F(Unplug, AChipThatIsGoneIsMinusThreeUntilItReturns) {
    EXPECT_EQ(library.CheckAvailable(), 0);
    rig_unplug(0);
    EXPECT_EQ(library.DisableForcedBlackUpdate(), -2) << "the operation that meets the loss";
    EXPECT_EQ(library.EnableForcedBlackUpdate(), -2) << "its repair finds no chip";
    EXPECT_EQ(library.TriggerCapture(), -3);
    EXPECT_EQ(library.RecheckStatus(), -3);
    rig_plug(0);
    EXPECT_EQ(library.TriggerCapture(), 0);
    EXPECT_EQ(rig_captures(), 1u);
}

TEST_F(Unplug, InsideATriggerPulseTheTriggerIsReleasedAndTheCallFails) {
    // Configure reads, writes and reads; the trigger reads twice, then sets and clears the line.
    Interrupt("FT_Write", 7, 2000);
    EXPECT_EQ(library.TriggerCapture(), -2);
    EXPECT_EQ(rig_level(RIG_TRIGGER), 0);
    EXPECT_EQ(rig_captures(), 1u);
    Sleep(2100);
    EXPECT_EQ(library.TriggerCapture(), 0) << "and the chip is found again";
}

TEST_F(Unplug, InsideAReadTheAnswerFallsBack) {
    Interrupt("FT_Read", 3, 100'000);
    std::int16_t ready = -1;
    EXPECT_EQ(library.CheckSystemReady(&ready), 0);
    EXPECT_EQ(ready, 0);
    EXPECT_EQ(library.CheckSystemReady(&ready), -3);
}

TEST_F(Unplug, WhileConfiguringTheNextOperationConfiguresAgain) {
    Interrupt("FT_SetBitMode", 2, 100);
    EXPECT_EQ(library.CheckAvailable(), -3);
    Sleep(150);
    EXPECT_EQ(library.CheckAvailable(), 0);
}

TEST_F(Unplug, ASilentChipIsBroughtBackByAPortReset) {
    EXPECT_EQ(library.CheckAvailable(), 0);
    const rig_fault silence{"FT_Write", rig_calls("FT_Write") + 1, 1, RIG_FAULT_SILENT, 0, 0};
    ASSERT_EQ(rig_add_fault(&silence), 0);
    Listen();
    std::int16_t ready = -1;
    EXPECT_EQ(library.CheckSystemReady(&ready), 0);
    EXPECT_EQ(ready, 1);
    const auto texts = TakeTexts();
    EXPECT_EQ(std::count(texts.begin(), texts.end(),
                         "FT_GetQueueStatus error: not only one byte available for read! 0"),
              100);
    EXPECT_THAT(texts, Contains("Device been restored after port resetting."));
}

} // namespace
