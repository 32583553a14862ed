/// Runs a check with the real library on the rig, in virtual time, on a made-up PC.
#pragma once

#include <optional>
#include <set>
#include <string>

#include "check.h"
#include "on_the_rig.h"
#include "planned_driver.h"

namespace test {

/// The simplest PC on which a check finds no fault.
host::Machine PlainMachine();

struct CheckPlan {
    std::string scenario;
    unsigned captures = 3;
    host::Machine machine = PlainMachine();
    std::set<host::Needs> refused{};            ///< what the user does not allow
    std::optional<std::uint64_t> stopAfterMs{}; ///< when the program is asked to stop, as by Ctrl-C
    const PlannedDriver* driver = nullptr;      ///< driver of timers; null: the check runs none
    std::chrono::seconds timerLimit{30};
};

struct Checked {
    host::CheckResult result;
    std::vector<std::string> log;
    int dark;
    int cameraPower;
    int accessoriesPower;
    int trigger;
    std::uint32_t pictures;

    const host::StepResult& Step(const std::string& key) const;
    std::string Outcome(const std::string& key) const { return Describe(Step(key).outcome); }
};

class CheckOnTheRig : public OnTheRig {
  protected:
    CheckOnTheRig();
    ~CheckOnTheRig() override;

    static Checked Check(const CheckPlan& plan);
};

} // namespace test
