/// Checks an installation step by step.
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "functions.h"
#include "library_log.h"
#include "machine.h"
#include "observations.h"

namespace host {

enum class Outcome {
    ok,
    failed,
    notTested, ///< a fault could not have been detected, or the step was not allowed
    note       ///< for information; neither right nor wrong
};

/// "ok", "FAIL", "not tested", "note".
const char* Describe(Outcome outcome);

struct StepResult {
    const char* key = "";
    const char* title = "";
    const char* done = "";
    const char* expected = "";
    int status = 0; ///< of the library's availability check, when the check began
    Outcome outcome = Outcome::ok;
    std::vector<std::string> seen; ///< observations, one line each
    std::string advice;            ///< what to do, or why the step was not tested; may be empty
    double milliseconds = 0;
    nlohmann::ordered_json facts = nlohmann::ordered_json::object(); ///< equal from run to run
    nlohmann::ordered_json times = nlohmann::ordered_json::object(); ///< differ from run to run

    void Fail(std::string whatToDo = "") {
        outcome = Outcome::failed;
        advice = std::move(whatToDo);
    }
    void LeaveUntested(std::string why) {
        outcome = Outcome::notTested;
        advice = std::move(why);
    }
};

/// What a step touches, which the user has to allow.
enum class Needs { nothing, hardware, lines, power, timer };

struct CheckHost {
    const Functions& library;
    LibraryLog& log;
    std::function<Machine()> lookAtMachine;
    /// Why a step must not be run; empty if it may. `question` is put to the user.
    std::function<std::string(Needs needs, const char* question)> whyNot;
    std::function<void(const StepResult&)> report;
    unsigned captures = 1;
    std::optional<std::uint32_t> timerParameter;
    std::chrono::seconds timerLimit{30}; ///< to wait for the timer's events
};

struct CheckResult {
    std::vector<StepResult> steps;
    Machine machine;
    int status = 0; ///< of the library's availability check, when the check began
    bool hasFailed = false;
    bool isComplete = true;
    Cause cause;                      ///< set when the check has failed
    std::vector<std::string> notSeen; ///< what only a technician with a meter can verify

    /// "PASS", "FAIL", "INCOMPLETE PASS", "INCOMPLETE FAIL".
    std::string Verdict() const;
};

/// Runs all steps. Restores dark and both powers to the levels found at the start, also when it
/// throws.
CheckResult RunCheck(const CheckHost& host);

} // namespace host
