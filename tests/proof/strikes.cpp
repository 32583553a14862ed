#include "strikes.h"

#include <utility>

#include <solvane/rig.h>

#include "system_faults.h"

namespace proof {

namespace {

void AddWays(std::vector<Strike>& strikes, const VendorFunction& function, std::uint32_t call,
             bool isOfSystem) {
    for (const Way& way : function.ways) {
        strikes.push_back({function.name, call, 1, &way, isOfSystem});
        strikes.push_back({function.name, call, 0, &way, isOfSystem});
    }
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
    std::vector<std::string> names;
    rig_entry entry{};
    for (std::size_t i = journalBefore; rig_journal_entry(i, &entry) == 0; ++i) {
        if (entry.kind == RIG_CALL) {
            names.emplace_back(entry.text, std::string_view(entry.text).find('('));
        }
    }
    return names;
}

std::vector<Strike> CallCount::OfVendors(const Kind& kind) const {
    std::vector<Strike> strikes;
    std::map<std::string, std::uint32_t> ordinals;
    std::uint32_t call = 0;
    for (const std::string& name : VendorCalls()) {
        const std::size_t known = strikes.size();
        ++call;
        const std::uint32_t ordinal = ++ordinals[name];
        for (const VendorFunction& function : kind.functions) {
            if (name == function.name) {
                AddWays(strikes, function, ordinal, false);
            }
        }
        EXPECT_GT(strikes.size(), known) << "nobody knows how this fails: " << name;
        for (const Way& way : kind.dead) {
            strikes.push_back({"*", call, 0, &way, false});
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
            AddWays(strikes, function, call, true);
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

void Disarm() {
    rig_clear_faults();
    host::ClearFaults();
}

} // namespace proof
