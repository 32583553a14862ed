/// examples/take_a_picture.c on every kind of hardware, which is lost before each vendor call: the
/// program never reports a picture wrongly. And how soon after a trigger "ready" shows it.

#include <functional>

#include "host_platform.h"
#include "library_on_the_rig.h"
#include "proof_kinds.h"

#define SOLVANE_NO_IMPORT
#include <solvane/solvane.h>

/// The example's main(), renamed by the compiler's command line.
int TakeAPicture();

namespace {

using namespace proof;
using namespace test;
using testing::Each;
using testing::Gt;

constexpr std::uint64_t kMillisecond = 1'000'000;
constexpr int kTaken = 0;
constexpr int kNotTriggered = 1;
constexpr int kUnconfirmed = 2;

class TakeAPictureTest : public LibraryOnTheRig {
  protected:
    TakeAPictureTest() { host::Record(false); }

    /// The exit code of the program, whose output is captured.
    static int Run() {
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        const int code = TakeAPicture();
        const std::string complaint = testing::internal::GetCapturedStderr();
        EXPECT_EQ(testing::internal::GetCapturedStdout(), code == kTaken ? "taken\n" : "");
        EXPECT_EQ(complaint.empty(), code == kTaken) << complaint;
        return code;
    }

    /// The complaint about an exit code; empty if it is right.
    static std::string Complaint(int code) {
        const std::uint32_t captures = rig_captures();
        if (captures > 1) {
            return "more than one picture";
        }
        if (code == kTaken && (captures == 0 || rig_level(RIG_TRIGGER) != 0)) {
            return "a picture that is not there";
        }
        if (code == kNotTriggered && captures != 0) {
            return "a picture that is denied";
        }
        return code >= kTaken && code <= kUnconfirmed ? "" : "code " + std::to_string(code);
    }

    /// The number of vendor calls that the program makes on healthy hardware.
    static std::uint32_t CallsOf(const std::string& scenario) {
        StartLibrary(scenario);
        const std::uint32_t before = rig_calls(nullptr);
        EXPECT_EQ(Run(), kTaken);
        EXPECT_EQ(rig_captures(), 1u);
        EXPECT_EQ(rig_level(RIG_MEP), 0) << "the next picture begins without a flag";
        return rig_calls(nullptr) - before;
    }

    /// Runs the program once for each of its vendor calls, with the fault starting there.
    void BeforeEveryCall(const std::string& scenario,
                         const std::function<std::string(std::uint32_t)>& startAt) {
        const std::uint32_t calls = CallsOf(scenario);
        StartLibrary(scenario);
        const std::uint32_t before = rig_calls(nullptr);
        for (std::uint32_t call = before + 1; call <= before + calls; ++call) {
            const std::string what = startAt(call);
            const int code = Run();
            ++outcomes[static_cast<std::size_t>(code)];
            EXPECT_EQ(Complaint(code), "") << what << " before call " << call << ", code " << code;
        }
    }

    std::size_t outcomes[3] = {};
};

class TakeAPictureOnEveryKind : public TakeAPictureTest,
                                public testing::WithParamInterface<Kind> {};

INSTANTIATE_TEST_SUITE_P(, TakeAPictureOnEveryKind, testing::ValuesIn(Kinds()), TestName);

TEST_P(TakeAPictureOnEveryKind, ACameraThatWorksIsConfirmed) {
    for (const char* const camera : {"", "[camera]\nmep_latched = true\n",
                                     "[camera]\nexposure_ms = 0\n", "[camera]\nexposure_ms = 900\n",
                                     "[camera]\nready = false\n[[event]]\nat_ms = 1500\n"
                                     "action = \"ready\"\n"}) {
        SCOPED_TRACE(camera);
        CallsOf(std::string(GetParam().scenario) + camera);
    }
}

TEST_P(TakeAPictureOnEveryKind, ACameraThatDoesNotAnswerIsNot) {
    const struct {
        const char* camera;
        int code;
        std::uint32_t captures;
    } cameras[] = {{"ready = false\n", kNotTriggered, 0},
                   {"asleep = true\n", kNotTriggered, 0},
                   {"mep = \"never\"\n", kUnconfirmed, 1},
                   {"exposure_ms = 1500\n", kUnconfirmed, 1},
                   {"mep = \"stuck\"\nmep_latched = true\n", kNotTriggered, 0},
                   {"mep = \"stuck\"\n", kUnconfirmed, 1}};
    for (const auto& one : cameras) {
        SCOPED_TRACE(one.camera);
        StartLibrary(std::string(GetParam().scenario) + "[camera]\n" + one.camera);
        EXPECT_EQ(Run(), one.code);
        EXPECT_EQ(rig_captures(), one.captures);
    }
}

std::string TextOf(const FailureMode& mode) {
    return (mode.kind == RIG_FAULT_SILENT ? "silent" : "status ") + std::to_string(mode.status);
}

TEST_P(TakeAPictureOnEveryKind, HardwareThatDiesIsNeverTakenForAPicture) {
    const Kind& kind = GetParam();
    std::vector<FailureMode> modes = kind.dead;
    for (const std::uint32_t nobody : {0x00u, 0xFFu}) { // read from a bus where nothing answers
        modes.emplace_back(rig::Fails(nobody));
    }
    for (const FailureMode& mode : modes) {
        BeforeEveryCall(kind.scenario, [&](std::uint32_t call) {
            StartLibrary(kind.scenario);
            const rig_fault dead{"*", call, 0, mode.kind, mode.status, mode.count};
            EXPECT_EQ(rig_add_fault(&dead), 0);
            return TextOf(mode);
        });
    }
    EXPECT_THAT(outcomes, Each(Gt(0u)));
}

/// Configuring an Embedded API leaves clear-MEP as it was.
TEST_F(TakeAPictureTest, AClearLineThatWasLeftActiveKeepsTheFlagDown) {
    StartLibrary(std::string(kEapiCamera) + "[pulls]\nclear_mep = 1\n");
    EXPECT_EQ(Run(), kUnconfirmed);
    EXPECT_EQ(rig_captures(), 1u);
}

/// Calls fail, once or from then on, while the flag of an earlier picture is latched.
TEST_P(TakeAPictureOnEveryKind, AnOldFlagIsNeverTakenForAPicture) {
    const std::string camera = "[camera]\nmep_latched = true\n";
    for (const FailureMode& mode : GetParam().dead) {
        if (mode.kind != RIG_FAULT_STATUS) {
            continue;
        }
        for (const std::uint32_t times : {0u, 1u}) {
            BeforeEveryCall(GetParam().scenario + camera, [&](std::uint32_t call) {
                StartLibrary(GetParam().scenario + camera + "mep = \"never\"\n");
                const rig_fault fault{"*", call, times, mode.kind, mode.status, mode.count};
                EXPECT_EQ(rig_add_fault(&fault), 0);
                return TextOf(mode);
            });
        }
    }
    EXPECT_EQ(outcomes[kTaken], 0u) << "no picture raises the flag of this camera";
}

TEST_F(TakeAPictureTest, ACableThatIsPulledIsNeverTakenForAPicture) {
    const std::string chip = kUsbCamera;
    const std::string unplug = "[[event]]\naction = \"unplug\"\nbefore = \"*\"\ncall = ";
    const std::string plug = "[[event]]\naction = \"plug\"\n";
    for (const char* const back : {"never", "at once", "20", "500", "5000"}) {
        BeforeEveryCall(chip, [&](std::uint32_t call) {
            const std::string at = std::to_string(call) + "\n";
            std::string events = unplug + at;
            if (std::string_view(back) == "at once") {
                events += plug + "before = \"*\"\ncall = " + at;
            } else if (std::string_view(back) != "never") {
                events += plug + "at_ms = " + std::to_string(60 + std::stoi(back)) + "\n";
            }
            StartLibrary(chip + events);
            return "unplugged, back " + std::string(back);
        });
    }
    EXPECT_THAT(outcomes, Each(Gt(0u)));
}

/// When "ready" can be asked after the trigger's edge, and that it is the line's level of that
/// moment, not a remembered one.
TEST_P(TakeAPictureOnEveryKind, ReadyRightAfterATriggerIsTheLevelOfTheLine) {
    const bool isUsb = GetParam().behaviour.isUsb;
    const auto ask = [] {
        std::int16_t ready = -1;
        EXPECT_EQ(Solvane_CheckSystemReady(&ready), SOLVANE_OK);
        return ready;
    };
    for (const int exposure : {isUsb ? 13 : 9, 100}) {
        StartLibrary(std::string(GetParam().scenario) +
                     "[camera]\nexposure_ms = " + std::to_string(exposure) + "\n");
        EXPECT_EQ(ask(), 1);
        const std::uint64_t before = rig_time();
        rig_journal_clear();
        EXPECT_EQ(Solvane_TriggerCapture(), SOLVANE_OK);
        rig_entry edge{};
        for (std::size_t i = 0; rig_journal_entry(i, &edge) == 0; ++i) {
            if (edge.kind == RIG_EDGE) {
                break;
            }
        }
        EXPECT_STREQ(edge.text, "trigger 1");
        EXPECT_EQ(edge.time - before, (isUsb ? 4 : 0) * kMillisecond);
        EXPECT_EQ(rig_time() - edge.time, (isUsb ? 14 : 10) * kMillisecond);
        EXPECT_EQ(ask(), exposure < 100 ? 1 : 0) << "of a short exposure nothing is seen";
        rig_force(RIG_READY, 1); // a camera that has not noticed yet
        EXPECT_EQ(ask(), 1);
        rig_force(RIG_READY, 0);
        EXPECT_EQ(ask(), 0);
    }
}

/// The only outdated answer: D2XX announces a byte and delivers none.
TEST_F(TakeAPictureTest, AnAnswerThatD2xxLosesIsTheOneBeforeTheTrigger) {
    StartLibrary(std::string(kUsbCamera) + "[camera]\nexposure_ms = 1000\n");
    std::int16_t ready = -1;
    EXPECT_EQ(Solvane_TriggerCapture(), SOLVANE_OK);
    FailSilently("FT_Read", 1);
    EXPECT_EQ(Solvane_CheckSystemReady(&ready), SOLVANE_OK);
    EXPECT_EQ(ready, 1);
    EXPECT_EQ(Solvane_CheckSystemReady(&ready), SOLVANE_OK);
    EXPECT_EQ(ready, 0);
}

} // namespace
