/// The output of check: text, JSON, report and comparison.

#include "check_output.h"
#include "checked.h"

namespace test {
namespace {

using host::Changes;
using host::Json;
using host::ReportPage;
using host::StepText;
using host::VerdictText;
using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class CheckOutputTest : public CheckOnTheRig {
  protected:
    static Checked CheckUsb(const std::string& more = "",
                            const host::Machine& machine = PlainMachine()) {
        CheckPlan plan;
        plan.scenario = "[[usb]]\nchip = 'FT2232H'\n" + more;
        plan.machine = machine;
        return Check(plan);
    }

    static std::vector<Json> StepsOf(const Checked& checked) {
        std::vector<Json> steps;
        for (const host::StepResult& step : checked.result.steps) {
            steps.push_back(ToJson(step));
        }
        return steps;
    }

    /// The output with --json.
    static std::string Printed(const Checked& checked) {
        std::string text;
        for (const Json& step : StepsOf(checked)) {
            text += step.dump() + "\n";
        }
        return text + ToJson(checked.result).dump() + "\n";
    }
};

TEST_F(CheckOutputTest, EachStepSaysWhatWasDoneExpectedAndSeen) {
    for (const Json& step : StepsOf(CheckUsb())) {
        EXPECT_EQ(step["command"], "check");
        for (const char* const key : {"step", "title", "done", "expected", "outcome"}) {
            EXPECT_FALSE(step[key].get<std::string>().empty()) << step;
        }
        EXPECT_TRUE(step["duration_ms"].is_number()) << step;
    }
    const Json verdict = ToJson(CheckUsb().result);
    EXPECT_EQ(verdict["verdict"], "PASS");
    EXPECT_TRUE(verdict["cause"].is_null());
}

TEST_F(CheckOutputTest, AnonymousLeavesOutWhoAndWhere) {
    host::Machine machine = PlainMachine();
    machine.user = "a";
    machine.library = {"Solvane.dll", {"C:\\Users\\A\\Solvane.dll", "", ""}, {}};
    const Checked checked = CheckUsb("", machine);
    const host::Anonymiser anonymiser(
        checked.result.machine, {"[10:00:00.000]  SerialNumber=XYZ9A"},
        {Json{{"facts", {{"serial", "OLD3B"}}}}, Json{{"user", "eva"}, {"machine", "LAB-01"}}});
    std::string text = anonymiser(std::string("\\\\lab-07\\x: xyz9a, (SLV1B) SLV1B2, a /a"));
    EXPECT_EQ(text, "\\\\(machine)\\x: (serial)A, ((serial)B) SLV1B2, a /(user)");
    EXPECT_EQ(anonymiser(std::string("was OLD3B of C:\\Users\\eva on \\\\LAB-01\\x")),
              "was (serial)B of C:\\Users\\(user) on \\\\(machine)\\x");
    for (const Json& step : StepsOf(checked)) {
        text += anonymiser(step).dump();
    }
    const Json verdict = anonymiser(ToJson(checked.result));
    text += verdict.dump();
    EXPECT_THAT(text, Not(HasSubstr("LAB-07")));
    EXPECT_THAT(text, Not(HasSubstr("\"SLV1B")));
    EXPECT_THAT(text, Not(HasSubstr("FT2232H SLV1B")));
    EXPECT_THAT(text, HasSubstr("FT2232H (serial)B"));
    EXPECT_THAT(text, HasSubstr(R"(C:\\Users\\(user)\\Solvane.dll)"));
    EXPECT_THAT(text, HasSubstr("a capture")) << "a user of one letter takes no word away";
    EXPECT_EQ(verdict["anonymous"], true);
}

TEST_F(CheckOutputTest, ReportIsOnePageAndEscaped) {
    host::Machine machine = PlainMachine();
    machine.user = "<b>&\"x\"";
    const Checked checked = CheckUsb("[wiring]\nmep = 'broken'\n", machine);
    const std::string page =
        ReportPage(StepsOf(checked), ToJson(checked.result), {"[10:00:00.000] <script>"});
    EXPECT_THAT(page, HasSubstr("user &lt;b&gt;&amp;&quot;x&quot;"));
    EXPECT_THAT(page, HasSubstr("[10:00:00.000] &lt;script&gt;"));
    EXPECT_THAT(page, Not(HasSubstr("<script")));
    EXPECT_THAT(page, Not(HasSubstr("<b>")));
    for (const char* const reference : {"http:", "https:", "src=", "@import", "url("}) {
        EXPECT_THAT(page, Not(HasSubstr(reference))) << "it needs nothing but itself";
    }
    EXPECT_THAT(page, HasSubstr("INCOMPLETE FAIL"));
    EXPECT_THAT(page, HasSubstr("MEP flag never comes up"));
    EXPECT_THAT(page, HasSubstr("prefers-color-scheme: dark"));
    EXPECT_THAT(page, HasSubstr("@media print"));
}

TEST_F(CheckOutputTest, BaselineTellsWhatHasChangedAndNothingElse) {
    host::Machine machine = PlainMachine();
    machine.vendorDlls = {{"FTD2XX.dll", {"C:\\app\\FTD2XX.dll", "3.2.16.0", "bb"}, {}}};
    const std::vector<Json> accepted = host::ReadBaseline(Printed(CheckUsb("", machine)));
    EXPECT_THAT(Changes(accepted, StepsOf(CheckUsb("", machine))), IsEmpty());

    machine.vendorDlls[0].file.version = "3.2.18.0";
    std::vector<std::string> changes = Changes(accepted, StepsOf(CheckUsb("", machine)));
    EXPECT_EQ(changes, std::vector<std::string>{
                           "vendor DLLs, FTD2XX.dll/version: was 3.2.16.0, is 3.2.18.0"});

    machine.vendorDlls[0].file.version = "3.2.16.0";
    changes = Changes(accepted, StepsOf(CheckUsb("[wiring]\nmep = 'broken'\n", machine)));
    EXPECT_THAT(changes, Contains("a capture: was ok, is FAIL"));
    changes = Changes(accepted, StepsOf(CheckUsb("[camera]\nexposure_ms = 90\n", machine)));
    EXPECT_THAT(changes, Contains(HasSubstr("a capture, flag_ms: was [")));
}

TEST_F(CheckOutputTest, BaselineOfSomethingElseIsRefused) {
    for (const char* const text :
         {"", "nonsense", "[]", "{}", "{\"command\": \"probe\"}", "{\"command\": \"check\"}",
          "{\"command\": 1, \"verdict\": \"PASS\"}"}) {
        EXPECT_THROW(host::ReadBaseline(text), host::BaselineError) << text;
    }
    // Objects of a check with unexpected values in them must do no harm.
    const std::vector<Json> odd = host::ReadBaseline(
        "{\"command\":\"check\",\"step\":\"capture\",\"facts\":3,\"times\":[1]}\n"
        "{\"command\":\"check\",\"verdict\":1}\n");
    EXPECT_THAT(Changes(odd, StepsOf(CheckUsb())), Contains(HasSubstr("a capture")));
}

TEST_F(CheckOutputTest, TextHasALineAStepAndTheVerdictWithItsCause) {
    const Checked checked = CheckUsb("[wiring]\nmep = 'broken'\n");
    unsigned number = 0;
    for (const Json& step : StepsOf(checked)) {
        EXPECT_THAT(StepText(step, ++number), HasSubstr(step["outcome"].get<std::string>()));
    }
    Json step{{"title", "ready"},   {"outcome", "ok"},          {"seen", {"yes", "still"}},
              {"done", "waited"},   {"expected", "that it is"}, {"advice", nullptr},
              {"duration_ms", 12.6}};
    EXPECT_EQ(StepText(step, 6), " 6  ready          ok            13 ms  yes\n"
                                 "                                        still\n");
    step["outcome"] = "FAIL";
    step["advice"] = "wait";
    EXPECT_EQ(StepText(step, 16), "16  ready          FAIL          13 ms  yes\n"
                                  "                                        still\n"
                                  "                                        done: waited\n"
                                  "                                        expected: that it is\n"
                                  "                                        wait\n");
    const std::string text = VerdictText(ToJson(checked.result));
    EXPECT_THAT(text, HasSubstr("\nINCOMPLETE FAIL: The camera answers the trigger"));
    EXPECT_THAT(text, HasSubstr("  tell apart  Measure BCBUS5"));
}

} // namespace
} // namespace test
