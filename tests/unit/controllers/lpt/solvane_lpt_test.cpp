/// What no transcript can show, because a controller that fails is replaced by the next kind.

#include "solvane_lpt.h"

#include "controller_operations.h"
#include "on_the_rig.h"

namespace {

using namespace SLV::Internal;
using namespace test;
using testing::IsEmpty;

constexpr short kUntouched = 0x5A5A;

class SolvaneLptTest : public OnTheRig {
  protected:
    /// After a failure every operation answers with its status.
    void ExpectFinal(SolvaneLpt& port, short status) {
        EXPECT_EQ(port.CheckPowerControlAvailable(), -1);
        TakeJournal();
        Load(kLptCamera);
        short out = kUntouched;
        for (const Operation& operation : kControllerOperations) {
            if (operation.IsGated() && operation.op != Op::CheckPowerControlAvailable) {
                EXPECT_EQ(operation.run(port, &out), status) << operation.name;
                EXPECT_EQ(operation.run(port, nullptr), status) << operation.name;
            }
        }
        EXPECT_EQ(out, kUntouched);
        EXPECT_EQ(port.CheckPowerControlAvailable(), -1);
        EXPECT_THAT(TakeJournal(), IsEmpty());
    }
};

TEST_F(SolvaneLptTest, AFailureIsFinalForItsController) {
    const struct {
        std::string scenario;
        short status;
    } failures[] = {{"", -3},
                    {std::string(kLptCamera) + "presence_wire = false\n", -3},
                    {std::string(kLptCamera) + "[inpout]\ndriver_open = false\n", -2}};
    for (const auto& failure : failures) {
        Load(failure.scenario);
        {
            SolvaneLpt port(logger);
            ExpectFinal(port, failure.status);
        }
        SolvaneLpt another(logger);
        EXPECT_EQ(another.TriggerCapture(), 0) << "a new one looks again";
    }
}

TEST_F(SolvaneLptTest, TheDestructorResetsTheStateAndDoesNotTouchThePort) {
    EXPECT_EQ(s_lptAvailability, -1);
    EXPECT_EQ(s_lptPowerAvailability, -1);
    EXPECT_EQ(s_lptBaseAddress, 0);
    EXPECT_FALSE(s_lptInitialised);
    Load(kLptCamera);
    {
        SolvaneLpt port(logger);
        EXPECT_EQ(port.CheckPowerControlAvailable(), 0);
        TakeJournal();
    }
    EXPECT_THAT(TakeJournal(), IsEmpty());
    EXPECT_EQ(s_lptAvailability, -1);
    EXPECT_EQ(s_lptPowerAvailability, -1);
    EXPECT_EQ(s_lptBaseAddress, 0);
    EXPECT_FALSE(s_lptInitialised);
}

TEST_F(SolvaneLptTest, AddressesWrapAtSixteenBits) {
    Load(std::string(kLptCamera) + "base = 0xFFFF\n");
    SolvaneLpt port(logger);
    short out = kUntouched;
    EXPECT_EQ(port.CheckAvailable(), 0);
    TakeJournal();
    EXPECT_EQ(port.CheckSystemReady(&out), 0);
    EXPECT_EQ(out, 1);
    EXPECT_EQ(TakeJournal(), Entries("Inp32(0x0) -> 0x60"));
}

/// The wiring of the plugs in the field, which never changes.
TEST(LptPort, BitsAreWiredAsInTheField) {
    using lpt::Register;
    const struct {
        lpt::Bit bit;
        Register where;
        int mask;
        int pin;
    } field[] = {{lpt::kDark, Register::Data, 0x01, 2},
                 {lpt::kTrigger, Register::Data, 0x02, 3},
                 {lpt::kAccessoriesPowerOff, Register::Data, 0x20, 7},
                 {lpt::kCameraPowerOff, Register::Data, 0x40, 8},
                 {lpt::kPowerLoopback, Register::Status, 0x10, 13},
                 {lpt::kReady, Register::Status, 0x20, 12},
                 {lpt::kNoMepFlag, Register::Status, 0x40, 10},
                 {lpt::kPresenceLoopback, Register::Status, 0x80, 11},
                 {lpt::kClearMep, Register::Control, 0x01, 1},
                 {lpt::kPowerProbe, Register::Control, 0x04, 16},
                 {lpt::kPresenceProbe, Register::Control, 0x08, 17}};
    for (const auto& wire : field) {
        EXPECT_EQ(wire.bit.where, wire.where);
        EXPECT_EQ(wire.bit.mask, wire.mask);
        EXPECT_EQ(wire.bit.pin, wire.pin);
    }
}

} // namespace
