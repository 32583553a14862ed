#include "fault_plan.h"

#include <algorithm>

#include <solvane/rig.h>

#include "vendor_function.h"

namespace rig {

namespace {

bool IsSensible(std::uint32_t kind) {
    return kind == RIG_FAULT_SILENT ||
           (kind != 0 && (kind & ~std::uint32_t{RIG_FAULT_STATUS | RIG_FAULT_COUNT}) == 0);
}

} // namespace

std::vector<std::string> FunctionNames() {
    std::vector<std::string> names{std::string(kAnyFunction)};
    for (const VendorFunction& function : VendorFunctions()) {
        names.emplace_back(function.name);
    }
    return names;
}

void FaultPlan::Restart() {
    faults.clear();
    lastId = 0;
    for (auto& [function, count] : counts) {
        count = 0;
    }
}

bool FaultPlan::Add(Fault fault) {
    if (!Knows(fault.function) || fault.call == 0 || !IsSensible(fault.kind)) {
        return false;
    }
    fault.id = ++lastId;
    faults.push_back(std::move(fault));
    return true;
}

void FaultPlan::Clear(std::string_view function) {
    std::erase_if(faults, [&](const Fault& fault) { return fault.function == function; });
}

void FaultPlan::Clear(std::uint32_t id) {
    std::erase_if(faults, [&](const Fault& fault) { return fault.id == id; });
}

void FaultPlan::CountCall(std::string_view function) {
    ++counts.find(function)->second;
    ++counts.find(kAnyFunction)->second;
}

std::uint32_t FaultPlan::Calls(std::string_view function) const {
    const auto found = counts.find(function);
    return found != counts.end() ? found->second : 0;
}

const Fault* FaultPlan::Occur(std::string_view function) {
    const auto applies = [&](const Fault& fault) {
        if (fault.function != function && fault.function != kAnyFunction) {
            return false;
        }
        const std::uint32_t call = Calls(fault.function);
        return call >= fault.call && (fault.times == 0 || call - fault.call < fault.times);
    };
    const auto found = std::find_if(faults.begin(), faults.end(), applies);
    if (found == faults.end()) {
        return nullptr;
    }
    ++found->occurred;
    return &*found;
}

} // namespace rig
