/// An installation, proved step by step.
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
    notTested, ///< no fault of it could have been seen, or nobody allowed it
    told       ///< a fact that is neither right nor wrong
};

/// "ok", "FAIL", "not tested", "note".
const char* Describe(Outcome outcome);

struct StepResult {
    const char* key = "";
    const char* title = "";
    const char* done = "";
    const char* expected = "";
    int status = 0; ///< of the library, when the check began
    Outcome outcome = Outcome::ok;
    std::vector<std::string> seen; ///< a line each
    std::string advice;            ///< what to do, or why it was not tested; may be empty
    double milliseconds = 0;
    nlohmann::ordered_json facts =
        nlohmann::ordered_json::object(); ///< stay while the installation does
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

/// What a step does that somebody has to allow.
enum class Needs { nothing, hardware, lines, power, timer };

struct CheckHost {
    const Functions& library;
    LibraryLog& log;
    std::function<Machine()> lookAtMachine;
    /// Why something must not be done; empty if it may be. The question asks a person.
    std::function<std::string(Needs needs, const char* question)> whyNot;
    std::function<void(const StepResult&)> tell;
    unsigned captures = 1;
    std::optional<std::uint32_t> timerParameter;
    std::chrono::seconds timerLimit{30}; ///< until the timer's events must have come
};

struct CheckResult {
    std::vector<StepResult> steps;
    Machine machine;
    int status = 0; ///< of the library, when the check began
    bool hasFailed = false;
    bool isComplete = true;
    Cause cause;                      ///< when it has failed
    std::vector<std::string> notSeen; ///< what no program can see of these lines, and a meter can

    /// "PASS", "FAIL", "INCOMPLETE PASS", "INCOMPLETE FAIL".
    std::string Verdict() const;
};

/// Goes through all steps. Dark and the powers are afterwards as they were found, also if it
/// throws.
CheckResult RunCheck(const CheckHost& host);

} // namespace host
