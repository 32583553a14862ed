#include "planned_faults.h"

#include <utility>

#include <solvane/rig.h>

#include "system_faults.h"
#include "vendor_function.h"

namespace proof {

namespace {

void AddWays(std::vector<PlannedFault>& plannedFaults, const VendorFunction& function,
             std::uint32_t call, bool isOfSystem, const std::string& question) {
    for (const FailureMode& mode : function.failureModes) {
        plannedFaults.push_back({function.name, call, 1, &mode, isOfSystem, question});
        plannedFaults.push_back({function.name, call, 0, &mode, isOfSystem, question});
    }
}

/// How the journal shows this result of the call.
std::string ShownStatus(std::string_view call, std::uint32_t status) {
    for (const rig::VendorFunction& function : rig::VendorFunctions()) {
        if (call.starts_with(std::string(function.name) + '(')) {
            const bool returns = function.result != rig::Show::No;
            return returns ? " -> " + rig::Shown(function.result, std::uint64_t{status}) : "";
        }
    }
    return "?";
}

const char* NameOf(const FailureMode& mode) {
    switch (mode.kind) {
    case RIG_FAULT_STATUS:
        return "fails";
    case RIG_FAULT_SILENT:
        return "is silent";
    case RIG_FAULT_COUNT:
        return "counts wrong";
    default:
        return "is done but fails";
    }
}

} // namespace

std::string Text(const PlannedFault& planned) {
    const FailureMode& mode = *planned.mode;
    return planned.function + " call " + std::to_string(planned.call) +
           (planned.times == 0 ? " and on " : " ") + NameOf(mode) + " (" +
           std::to_string(mode.status) + ", " + std::to_string(mode.count) + ")";
}

CallCount::CallCount() : journalBefore(rig_journal_size()), systemBefore(host::AllCalls()) {}

std::vector<std::string> CallCount::VendorCalls() const {
    std::vector<std::string> questions;
    bool isAtFault = false;
    rig_entry entry{};
    for (std::size_t i = journalBefore; rig_journal_entry(i, &entry) == 0; ++i) {
        const std::string_view text = entry.text;
        if (entry.kind == RIG_EVENT && text.starts_with("fault ")) {
            isAtFault = true;
        } else if (entry.kind == RIG_CALL) {
            const std::size_t end = text.find(isAtFault ? '(' : ')') + 1;
            questions.emplace_back(text.substr(0, end));
            isAtFault = false;
        }
    }
    return questions;
}

std::vector<PlannedFault> CallCount::OfVendors(const Kind& kind) const {
    std::vector<PlannedFault> plannedFaults;
    std::map<std::string, std::uint32_t> ordinals;
    std::uint32_t call = 0;
    for (const std::string& question : VendorCalls()) {
        const std::string name = question.substr(0, question.find('('));
        const std::size_t known = plannedFaults.size();
        ++call;
        const std::uint32_t ordinal = ++ordinals[name];
        if (question.back() == '(') {
            continue; // it has the earlier fault
        }
        for (const VendorFunction& function : kind.functions) {
            if (name == function.name) {
                AddWays(plannedFaults, function, ordinal, false, question);
            }
        }
        EXPECT_GT(plannedFaults.size(), known) << "no way to fail is known of " << name;
        for (const FailureMode& mode : kind.dead) {
            plannedFaults.push_back({"*", call, 0, &mode, false, question});
        }
    }
    return plannedFaults;
}

std::vector<PlannedFault> CallCount::OfSystem(const std::vector<VendorFunction>& functions) const {
    std::vector<PlannedFault> plannedFaults;
    std::map<std::string, std::uint32_t> made = host::AllCalls();
    for (auto& [name, calls] : made) {
        calls -= systemBefore.at(name);
    }
    for (const VendorFunction& function : functions) {
        const std::uint32_t calls = std::exchange(made.at(function.name), 0);
        for (std::uint32_t call = 1; call <= calls; ++call) {
            AddWays(plannedFaults, function, call, true, "");
        }
    }
    for (const auto& [name, calls] : made) {
        EXPECT_EQ(calls, 0u) << "no way to fail is known of " << name;
    }
    return plannedFaults;
}

bool Arm(const PlannedFault& planned) {
    const char* const function = planned.function.c_str();
    const FailureMode& mode = *planned.mode;
    const std::uint32_t made = planned.isOfSystem ? host::Calls(function) : rig_calls(function);
    const rig_fault fault{function,  made + planned.call, planned.times,
                          mode.kind, mode.status,         mode.count};
    return (planned.isOfSystem ? host::AddFault(fault) : rig_add_fault(&fault)) == 0;
}

bool HasHappened(const PlannedFault& planned, std::size_t journalBefore) {
    if (planned.isOfSystem) {
        return host::FaultsThatHappened() != 0;
    }
    bool isNext = false;
    rig_entry entry{};
    for (std::size_t i = journalBefore; rig_journal_entry(i, &entry) == 0; ++i) {
        const std::string_view text = entry.text;
        if (entry.kind == RIG_EVENT && text.starts_with("fault ")) {
            isNext = true;
        } else if (isNext && entry.kind == RIG_CALL) {
            const bool fails = (planned.mode->kind & RIG_FAULT_STATUS) != 0;
            if (!fails || text.find(ShownStatus(text, planned.mode->status)) != text.npos) {
                return true;
            }
            isNext = false; // that was the earlier fault
        }
    }
    return false;
}

void Disarm() {
    rig_clear_faults();
    host::ClearFaults();
}

} // namespace proof
