#include "vendor_call.h"

#include <solvane/rig.h>

namespace rig {

VendorCall::VendorCall(const char* name) : function(name) {
    if (const Fault* found = rig->BeginCall(function)) {
        fault = *found;
    }
}

void VendorCall::Input(const std::string& text) {
    inputs += (inputs.empty() ? "" : ", ") + text;
}

void VendorCall::Output(const std::string& text) {
    outputs += ", " + text;
}

std::uint32_t VendorCall::Count(std::uint32_t actual) const {
    return fault && (fault->kind & RIG_FAULT_COUNT) != 0 ? fault->count : actual;
}

bool VendorCall::DoesItsWork() const {
    return !fault || (fault->kind & RIG_FAULT_COUNT) != 0;
}

std::uint32_t VendorCall::Finish(std::uint32_t status) {
    if (fault && (fault->kind & RIG_FAULT_STATUS) != 0) {
        status = fault->status;
    }
    rig->trace.Call(std::string(function) + '(' + inputs + ") -> " + std::to_string(status) +
                    outputs);
    return status;
}

} // namespace rig
