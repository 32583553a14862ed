/// What check and doctor say about made-up PCs.

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

TEST_F(MachineTest, FirstPortIsDescribedByItsFirstRange) {
    using Ports = std::vector<host::ParallelPort>;
    const auto describe = [](const Ports& ports) {
        const std::optional<host::FirstPort> port = host::FirstOf(ports);
        return port ? port->Description() : "none";
    };
    EXPECT_EQ(describe({}), "none");
    EXPECT_EQ(describe({{"LPT1", {"0x378", "0x778"}}}), "LPT1 at 0x378");
    EXPECT_EQ(describe({{"LPT2", {"0x278"}}, {"LPT1", {"0x378"}}}),
              "LPT2 at 0x278, the first of 2 parallel ports; the others are never used");
    EXPECT_EQ(describe({{"LPT1", {"0xFFFF"}}}), "LPT1 at 0xffff");
    for (const host::WmiProperty& address : std::vector<host::WmiProperty>{
             {}, std::uint64_t{0x378}, "", "LPT", "0", "-1", "0x10000"}) {
        EXPECT_EQ(describe({{"LPT1", {address}}}), "LPT1, without an I/O range");
    }
    EXPECT_EQ(describe({{{}, {"0x378"}}}), "a parallel port without a name at 0x378");
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

TEST_F(MachineTest, OtherFilesOfAVendorsDllAreToldForWhatTheyAre) {
    using host::Processor;
    const host::DllFile loaded{"C:\\app\\FTD2XX.dll", "3.2.16.0", "bb"};
    const host::DllFile same{"C:\\Windows\\System32\\FTD2XX.dll", "3.2.16.0", "bb"};
    const host::DllFile hidden{"C:\\Windows\\System32\\FTD2XX.dll", "3.1.2.0", "cc"};
    const host::DllFile notTaken{"C:\\lib\\FTD2XX.dll", "3.1.2.0", "cc", Processor::x64, true};
    const host::DllFile passedOver{"C:\\lib\\FTD2XX.dll", "", "dd", Processor::x86, true};
    const host::DllFile behind{"C:\\tools\\FTD2XX.dll", "", "", Processor::none};
    const host::DllFile unread{"C:\\tools\\FTD2XX.dll", "3.2.16.0", ""};
    constexpr const char* kKeepTheRightOne = "keep the right one beside the host";
    constexpr const char* kTakeItAway = "the only one of its name, hosts do not start";
    struct Case {
        std::vector<host::DllFile> others;
        const char* outcome;
        const char* seen;
        const char* advice;
    };
    for (const Case& each :
         {Case{{}, "ok", "FTD2XX.dll 3.2.16.0 C:\\app\\FTD2XX.dll, 64-bit", ""},
          Case{{same}, "ok", "the same again: 3.2.16.0 C:\\Windows", ""},
          Case{{hidden},
               "note",
               "hidden by the one that is loaded: 3.1.2.0 C:\\Windows",
               kKeepTheRightOne},
          Case{{notTaken},
               "note",
               "not taken, though Windows looks there first: 3.1.2.0 C:\\lib",
               kKeepTheRightOne},
          Case{{passedOver},
               "note",
               "passed over, though Windows looks there first: C:\\lib\\FTD2XX.dll, 32-bit",
               kTakeItAway},
          Case{{behind},
               "note",
               "behind the one that is loaded: C:\\tools\\FTD2XX.dll, no DLL",
               kTakeItAway},
          Case{{unread},
               "note",
               "hidden by the one that is loaded: 3.2.16.0 C:\\tools",
               kKeepTheRightOne},
          Case{{passedOver, hidden}, "note", "passed over", kKeepTheRightOne}}) {
        host::Machine machine = PlainMachine();
        machine.vendorDlls = {{"FTD2XX.dll", loaded, each.others}};
        const Checked checked = CheckOn(machine);
        const host::StepResult& step = checked.Step("vendor_dlls");
        EXPECT_EQ(checked.Outcome("vendor_dlls"), each.outcome) << each.seen;
        ASSERT_EQ(step.seen.size(), 2 + each.others.size()) << each.seen;
        EXPECT_EQ(step.seen[1], "  SHA-256 bb");
        EXPECT_THAT(step.seen[each.others.empty() ? 0 : 2], HasSubstr(each.seen));
        EXPECT_THAT(step.advice, HasSubstr(each.advice));
        EXPECT_EQ(step.advice.empty(), std::string(each.outcome) == "ok");
        EXPECT_EQ(step.facts["FTD2XX.dll"].contains("others"), !each.others.empty())
            << "a baseline tells of a file that has come";
        EXPECT_EQ(checked.result.Verdict(), "PASS") << "what is loaded is what counts";
    }
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
