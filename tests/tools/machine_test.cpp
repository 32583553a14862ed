/// What check and doctor make of machines that nobody has.

#include "checked.h"
#include "diagnosis.h"

namespace test {
namespace {

using host::DriverState;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class MachineTest : public CheckOnTheRig {
  protected:
    static Checked CheckOn(const host::Machine& machine,
                           const std::string& scenario = "[[usb]]\nchip = 'FT2232H'\n") {
        CheckPlan plan;
        plan.scenario = scenario;
        plan.machine = machine;
        return Check(plan);
    }
};

TEST_F(MachineTest, StateOfAServiceTellsStoppedFromRefused) {
    constexpr unsigned long kStopped = 1;
    EXPECT_EQ(host::StateOfService(4, 0), DriverState::running);
    EXPECT_EQ(host::StateOfService(kStopped, 0), DriverState::stopped);
    EXPECT_EQ(host::StateOfService(kStopped, 1077), DriverState::stopped) << "never started";
    EXPECT_EQ(host::StateOfService(kStopped, 5), DriverState::refused) << "access denied";
    EXPECT_EQ(host::StateOfService(kStopped, 577), DriverState::refused) << "signature";
    EXPECT_EQ(host::StateOfService(kStopped, 1275), DriverState::refused) << "blocked";
    EXPECT_EQ(host::StateOfService(2, 0), DriverState::unknown) << "starting";
}

TEST_F(MachineTest, AbsentStoppedAndRefusedPortDriversHaveThreeAdvices) {
    struct Case {
        DriverState state;
        std::optional<bool> memoryIntegrity;
        const char* advice;
    };
    for (const Case& each : {Case{DriverState::absent, false, "as an administrator"},
                             Case{DriverState::absent, true, "memory integrity"},
                             Case{DriverState::stopped, true, "sc start inpoutx64"},
                             Case{DriverState::refused, true, "must be off for this driver"},
                             Case{DriverState::refused, false, "event log"},
                             Case{DriverState::unknown, {}, "can keep the driver out"}}) {
        host::Machine machine = PlainMachine();
        machine.inpout = each.state;
        machine.memoryIntegrity = each.memoryIntegrity;
        const Checked checked = CheckOn(machine, "[lpt]\n[inpout]\ndriver_open = false\n");
        EXPECT_EQ(checked.result.cause.id, "no_hardware");
        EXPECT_THAT(checked.Step("kinds").seen[0], HasSubstr("driver (InpOut) is not open"));
        EXPECT_THAT(checked.Step("kinds").seen[0], HasSubstr(each.advice));
    }
}

TEST_F(MachineTest, TimerDriverIsTestedOnlyWhereItRunsAndWasAllowed) {
    host::Machine machine = PlainMachine();
    for (const auto& [state, advice] : {std::pair{DriverState::absent, "If hosts here use timers"},
                                        std::pair{DriverState::stopped, "sc start SolvaneDevice"},
                                        std::pair{DriverState::refused, "signature"}}) {
        machine.timerDriver = state;
        const Checked checked = CheckOn(machine);
        EXPECT_EQ(checked.result.Verdict(), "PASS") << "hosts may have no use for timers";
        EXPECT_EQ(checked.Outcome("timer"), "note");
        EXPECT_THAT(checked.Step("timer").advice, HasSubstr(advice));
    }
    machine.timerDriver = DriverState::running;
    const Checked checked = CheckOn(machine);
    EXPECT_EQ(checked.result.Verdict(), "INCOMPLETE PASS");
    EXPECT_THAT(checked.Step("timer").advice, HasSubstr("--timer"));
}

TEST_F(MachineTest, SleepThatStaysCoarseIsExplained) {
    host::Machine machine = PlainMachine();
    Checked checked = CheckOn(machine);
    EXPECT_EQ(checked.Outcome("timing"), "ok");
    EXPECT_THAT(checked.Step("timing").advice, HasSubstr("hidden")) << "hosts may be";
    machine.sleep = {10.4, 10.4};
    EXPECT_THAT(CheckOn(machine).Step("timing").advice, IsEmpty());
    machine.sleep = {15.6, 15.6};
    checked = CheckOn(machine);
    EXPECT_EQ(checked.Outcome("timing"), "note");
    EXPECT_THAT(checked.Step("timing").advice, HasSubstr("16 ms"));
    EXPECT_EQ(checked.result.Verdict(), "PASS");
}

TEST_F(MachineTest, SuspendedUsbIsAnAdviceOnlyWhereAChipWasLost) {
    host::Machine machine = PlainMachine();
    const std::string lost =
        "[[usb]]\nchip = 'FT2232H'\n[[event]]\nat_ms = 500\naction = 'unplug'\n";
    for (const std::optional<bool> suspend : {std::optional(true), std::optional(false), {}}) {
        machine.usbSuspend = suspend;
        const Checked checked = CheckOn(machine, lost);
        EXPECT_EQ(checked.result.cause.id, "lost");
        const bool isAdvised =
            checked.result.cause.tellApart.find("selective suspend") != std::string::npos;
        EXPECT_EQ(isAdvised, suspend == true);
    }
    EXPECT_EQ(CheckOn(machine).result.Verdict(), "PASS");
}

TEST_F(MachineTest, AnotherCopyOfAVendorsDllIsTold) {
    host::Machine machine = PlainMachine();
    machine.dlls = {{"Solvane.dll", "C:\\app\\Solvane.dll", "100.1.0.1", "aa", {}},
                    {"FTD2XX.dll", "C:\\app\\FTD2XX.dll", "3.2.16.0", "bb", {}}};
    EXPECT_EQ(CheckOn(machine).Outcome("vendor_dlls"), "ok");
    machine.dlls[1].others = {"C:\\Windows\\System32\\FTD2XX.dll, 3.1.2.0"};
    const Checked checked = CheckOn(machine);
    EXPECT_EQ(checked.Outcome("vendor_dlls"), "note");
    EXPECT_THAT(checked.Step("vendor_dlls").seen,
                testing::Contains("another FTD2XX.dll lies at C:\\Windows\\System32\\FTD2XX.dll, "
                                  "3.1.2.0 and is not used"));
    EXPECT_THAT(checked.Step("vendor_dlls").seen[0], HasSubstr("SHA-256 bb"));
}

TEST_F(MachineTest, TheChipOrPortThatServesIsNamed) {
    host::Machine machine = PlainMachine();
    Checked checked = CheckOn(machine);
    EXPECT_THAT(checked.Step("chip").seen[0], HasSubstr("SLV1B, channel B"));
    machine.usb.insert(machine.usb.begin(), {"OTHERB", "FT232R USB UART", false});
    checked = CheckOn(machine);
    EXPECT_EQ(checked.Outcome("chip"), "ok");
    EXPECT_THAT(checked.Step("chip").seen[0], HasSubstr("SLV1B, channel B"));
    machine.usb.push_back({"SLV2A", "Dual RS232-HS A", true});
    machine.usb.push_back({"SLV2B", "Dual RS232-HS B", true});
    checked = CheckOn(machine);
    EXPECT_EQ(checked.Outcome("chip"), "note");
    EXPECT_THAT(checked.Step("chip").advice, HasSubstr("There are 2 of them"));
    machine.port = host::FirstPort{"LPT3", 0x278, 2};
    checked = CheckOn(machine, "[lpt]\n");
    EXPECT_THAT(checked.Step("chip").seen[0], HasSubstr("LPT3 at 0x278, the first of 2"));
    checked = CheckOn(machine, "[lpt]\npower_wire = false\n");
    EXPECT_THAT(checked.Step("chip").advice, HasSubstr("pin 16 to pin 13"));
}

} // namespace
} // namespace test
