/// A session that is kept is a scenario, with which the same host meets the same: every action on a
/// running rig, between the calls of every operation on all kinds of hardware, and many at random.
/// The journal of the rerun is that of the session in every line, though its clock runs otherwise.

#include <iostream>
#include <map>
#include <random>

#include "commands.h"
#include "host_platform.h"
#include "on_the_rig.h"
#include "proof_kinds.h"
#include "proof_operations.h"
#include "stand_in.h"

namespace {

using namespace proof;
using namespace test;

using Words = std::vector<std::string>;

constexpr std::uint64_t kMillisecond = 1'000'000;

/// What else is in the scenarios: events of their own, which a kept session brings along.
constexpr const char* kMore = "[camera]\nready_after_power_ms = 40\n"
                              "[[event]]\nat_ms = 1000\naction = \"note of the scenario's own\"\n"
                              "[[event]]\nbefore = \"*\"\ncall = 20\naction = \"mep latch\"\n";

/// An action, and before which call of the host, counted from 0 since the session began.
struct Planned {
    Words words;
    std::size_t call = 0;
};

/// What a host does: operations, with time between them.
struct HostStep {
    const Operation* operation;
    std::uint64_t pause; ///< ns, before it
};

std::vector<Words> ActionsOn(const Kind& kind) {
    const std::string function = kind.functions.front().name;
    std::vector<Words> actions = {
        {"ready", "on"},
        {"ready", "off"},
        {"mep", "latch"},
        {"set", "exposure_ms", "3"},
        {"set", "ready_after_power_ms", "1"},
        {"set", "mep", "never"},
        {"set", "mep", "stuck"},
        {"set", "asleep", "true"},
        {"set", "asleep", "false"},
        {"wire", "dark", "broken"},
        {"wire", "ready", "stuck at 0"},
        {"wire", "camera_power", "stuck at 1"},
        {"wire", "mep", "inverted"},
        {"wire", "trigger", "swapped with dark"},
        {"wire", "dark", "shorted to clear_mep"},
        {"wire", "trigger", "healthy"},
        {"force", "ready", "0"},
        {"force", "mep", "1"},
        {"force", "mep", "free"},
        {"fault", "*", "status=4"},
        {"fault", "*", "silent", "times=3"},
        {"fault", function, "count=1"},
        {"fault", function, "status=1", "call=3", "times=0"},
        {"lift"},
        {"lift", function},
        {"note", "pull  it \"now\" \\ \xc3\xa9\xf0\x9f\x93\xb7\x7f"},
        {"scenario", "none", ""},
        {"scenario", "the same, broken",
         std::string(kind.scenario) + "# \xc3\xa9 \\ \"\"\"\r\n[wiring]\ndark = 'broken'\n"
                                      "[[event]]\nat_ms = 7\naction = 'ready off'\n"
                                      "[[fault]]\nfunction = '*'\ncall = 4\nstatus = 4\n"},
    };
    if (kind.behaviour.isUsb) {
        actions.push_back({"unplug", "0"});
        actions.push_back({"plug", "0"});
    }
    return actions;
}

class EveryKeptSessionTest : public OnTheRig, public testing::WithParamInterface<Kind> {
  protected:
    ~EveryKeptSessionTest() override { rig::answerer = rig::Answer; }

    /// What the host and the rig do: the journal.
    Journal Run(const std::string& scenario, const std::vector<HostStep>& host,
                std::vector<Planned> actions, std::uint64_t seed) {
        static EveryKeptSessionTest* running = nullptr;
        running = this;
        planned = std::move(actions);
        random.seed(seed);
        slowest = seed == 0 ? 0 : 30 * kMillisecond;
        calls = 0;
        rig::answerer = [](rig::Call& call) {
            running->Act();
            ++running->calls;
            rig::Answer(call);
        };

        controller.reset();
        ResetProcessState();
        Load(scenario);
        controller = GetParam().make(logger);
        for (const HostStep& step : host) {
            host::Advance(step.pause);
            short answer = kUntouched;
            const short status = step.operation->run(*controller, &answer);
            rig_note((std::string(step.operation->name) + " " + std::to_string(status) + " " +
                      std::to_string(answer))
                         .c_str());
        }
        calls = ~std::size_t{0};
        Act();
        host::Advance(3000 * kMillisecond);
        rig_level(RIG_READY);
        Journal journal = TakeEntries({RIG_CALL, RIG_EDGE, RIG_EVENT, RIG_NOTE});
        return journal;
    }

    /// Whether the session that these make is the same when it is run again, and again.
    bool IsKept(const std::vector<HostStep>& host, const std::vector<Planned>& actions) {
        const Journal first = Run(GetParam().scenario + std::string(kMore), host, actions, 0);
        const std::string kept = rig::Perform({"keep"}, false).text;
        const Journal second = Run(kept, host, {}, ++seeds);
        const std::string keptAgain = rig::Perform({"keep"}, false).text;
        EXPECT_EQ(first, second) << kept;
        EXPECT_EQ(kept, keptAgain);
        entries += first.size();
        ++sessions;
        return first == second && kept == keptAgain;
    }

    std::size_t sessions = 0;
    std::size_t entries = 0;

  private:
    void Act() {
        if (slowest != 0) {
            host::Advance(std::uniform_int_distribution<std::uint64_t>(0, slowest)(random));
        }
        while (!planned.empty() && planned.front().call <= calls) {
            const Words words = planned.front().words;
            planned.erase(planned.begin());
            rig::Perform(words, false); // be it that there is no such chip any more
        }
    }

    SLV::Internal::ControllerPtr controller;
    std::vector<Planned> planned;
    std::size_t calls = 0;
    std::uint64_t seeds = 0;
    std::uint64_t slowest = 0; ///< how much longer a call may take to come than in the session
    std::mt19937_64 random;
};

const Operation& Trigger() {
    return Of(Op::TriggerCapture);
}

TEST_P(EveryKeptSessionTest, EveryActionBeforeTheCallsOfEveryOperation) {
    for (const Operation& operation : kControllerOperations) {
        const std::vector<HostStep> host = {{&Trigger(), 0},
                                            {&operation, 10 * kMillisecond},
                                            {&Of(Op::CheckSystemReady), 20 * kMillisecond}};
        const std::uint32_t most = [&] {
            Run(GetParam().scenario + std::string(kMore), host, {}, 0);
            return rig_calls("*");
        }();
        std::size_t turn = 0;
        for (const Words& action : ActionsOn(GetParam())) {
            // Every eighth call, beginning elsewhere each time, and after the last one.
            constexpr std::size_t kStride = 8;
            for (std::size_t call = turn++ % kStride; call <= most; call += kStride) {
                ASSERT_TRUE(IsKept(host, {{action, call}})) << action[0] << " before " << call;
            }
            ASSERT_TRUE(IsKept(host, {{action, most}, {{"ready", "off"}, most}}));
        }
    }
    static const std::map<std::string, std::size_t> kSessions = {
        {"FT2232H", 2840}, {"Super I/O", 4932}, {"Embedded API", 1799}, {"Parallel port", 2715}};
    EXPECT_EQ(sessions, kSessions.at(GetParam().name));
    std::cout << GetParam().name << ": " << sessions << " sessions of " << entries
              << " entries, all the same again\n";
}

TEST_P(EveryKeptSessionTest, ManyActionsAtRandom) {
    constexpr std::size_t kSessions = 300;
    std::mt19937_64 dice(2026);
    const auto below = [&](std::size_t end) {
        return std::uniform_int_distribution<std::size_t>(0, end - 1)(dice);
    };
    const std::vector<Words> actions = ActionsOn(GetParam());
    for (std::size_t i = 0; i < kSessions; ++i) {
        std::vector<HostStep> host;
        for (std::size_t steps = 3 + below(8); steps > 0; --steps) {
            host.push_back({&kControllerOperations[below(std::size(kControllerOperations))],
                            below(60) * kMillisecond + below(1000)});
        }
        std::vector<Planned> done;
        for (std::size_t count = 1 + below(8), call = 0; count > 0; --count) {
            call += below(40);
            done.push_back({actions[below(actions.size())], call});
        }
        ASSERT_TRUE(IsKept(host, done)) << "session " << i;
    }
    EXPECT_EQ(sessions, kSessions);
    std::cout << GetParam().name << ": " << sessions << " sessions of " << entries
              << " entries, all the same again\n";
}

INSTANTIATE_TEST_SUITE_P(Kinds, EveryKeptSessionTest, testing::ValuesIn(Kinds()), TestName);

} // namespace
