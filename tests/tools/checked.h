/// A check of the real library on the rig, in virtual time, on a machine that is made up.
#pragma once

#include <optional>
#include <set>
#include <string>

#include "check.h"
#include "on_the_rig.h"
#include "planned_driver.h"

namespace test {

/// As little of a machine as a check needs.
host::Machine PlainMachine();

struct CheckPlan {
    std::string scenario;
    unsigned captures = 3;
    host::Machine machine = PlainMachine();
    std::set<host::Needs> refused{};            ///< what nobody allows
    std::optional<std::uint64_t> stopAfterMs{}; ///< the program is told to stop then, as by Ctrl-C
    const PlannedDriver* driver = nullptr;      ///< of timers, one of which is run then
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
