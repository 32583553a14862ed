#include "strikes.h"

#include <utility>

#include <solvane/rig.h>

#include "system_faults.h"
#include "vendor_function.h"

namespace proof {

namespace {

void AddWays(std::vector<Strike>& strikes, const VendorFunction& function, std::uint32_t call,
             bool isOfSystem, const std::string& question) {
    for (const Way& way : function.ways) {
        strikes.push_back({function.name, call, 1, &way, isOfSystem, question});
        strikes.push_back({function.name, call, 0, &way, isOfSystem, question});
    }
}

/// How the journal shows that a call returned this.
std::string ShownStatus(std::string_view call, std::uint32_t status) {
    for (const rig::VendorFunction& function : rig::VendorFunctions()) {
        if (call.starts_with(std::string(function.name) + '(')) {
            const bool returns = function.result != rig::Show::No;
            return returns ? " -> " + rig::Shown(function.result, std::uint64_t{status}) : "";
        }
    }
    return "?";
}

const char* NameOf(const Way& way) {
    switch (way.kind) {
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

std::string Text(const Strike& strike) {
    const Way& way = *strike.way;
    return strike.function + " call " + std::to_string(strike.call) +
           (strike.times == 0 ? " and on " : " ") + NameOf(way) + " (" +
           std::to_string(way.status) + ", " + std::to_string(way.count) + ")";
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

std::vector<Strike> CallCount::OfVendors(const Kind& kind) const {
    std::vector<Strike> strikes;
    std::map<std::string, std::uint32_t> ordinals;
    std::uint32_t call = 0;
    for (const std::string& question : VendorCalls()) {
        const std::string name = question.substr(0, question.find('('));
        const std::size_t known = strikes.size();
        ++call;
        const std::uint32_t ordinal = ++ordinals[name];
        if (question.back() == '(') {
            continue; // a mishap's fault has it
        }
        for (const VendorFunction& function : kind.functions) {
            if (name == function.name) {
                AddWays(strikes, function, ordinal, false, question);
            }
        }
        EXPECT_GT(strikes.size(), known) << "nobody knows how this fails: " << name;
        for (const Way& way : kind.dead) {
            strikes.push_back({"*", call, 0, &way, false, question});
        }
    }
    return strikes;
}

std::vector<Strike> CallCount::OfSystem(const std::vector<VendorFunction>& functions) const {
    std::vector<Strike> strikes;
    std::map<std::string, std::uint32_t> made = host::AllCalls();
    for (auto& [name, calls] : made) {
        calls -= systemBefore.at(name);
    }
    for (const VendorFunction& function : functions) {
        const std::uint32_t calls = std::exchange(made.at(function.name), 0);
        for (std::uint32_t call = 1; call <= calls; ++call) {
            AddWays(strikes, function, call, true, "");
        }
    }
    for (const auto& [name, calls] : made) {
        EXPECT_EQ(calls, 0u) << "nobody knows how this fails: " << name;
    }
    return strikes;
}

bool Arm(const Strike& strike) {
    const char* const function = strike.function.c_str();
    const Way& way = *strike.way;
    const std::uint32_t made = strike.isOfSystem ? host::Calls(function) : rig_calls(function);
    const rig_fault fault{function, made + strike.call, strike.times,
                          way.kind, way.status,         way.count};
    return (strike.isOfSystem ? host::AddFault(fault) : rig_add_fault(&fault)) == 0;
}

bool HasStruck(const Strike& strike, std::size_t journalBefore) {
    if (strike.isOfSystem) {
        return host::Struck() != 0;
    }
    bool isNext = false;
    rig_entry entry{};
    for (std::size_t i = journalBefore; rig_journal_entry(i, &entry) == 0; ++i) {
        const std::string_view text = entry.text;
        if (entry.kind == RIG_EVENT && text.starts_with("fault ")) {
            isNext = true;
        } else if (isNext && entry.kind == RIG_CALL) {
            const bool fails = (strike.way->kind & RIG_FAULT_STATUS) != 0;
            if (!fails || text.find(ShownStatus(text, strike.way->status)) != text.npos) {
                return true;
            }
            isNext = false; // that was a mishap's
        }
    }
    return false;
}

void Disarm() {
    rig_clear_faults();
    host::ClearFaults();
}

} // namespace proof
