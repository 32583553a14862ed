#include "vendor_call.h"

#include <cstdio>

#include <solvane/rig.h>

namespace rig {

std::string Decimal(std::uint32_t number) {
    return std::to_string(number);
}

std::string Hexadecimal(std::uint32_t number) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%lx", static_cast<unsigned long>(number));
    return text;
}

VendorCall::VendorCall(const char* name, ShowResult showResult) : function(name), show(showResult) {
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
    const std::string result = show(status);
    rig->trace.Call(std::string(function) + '(' + inputs + ')' +
                    (result.empty() ? "" : " -> " + result) + outputs);
    return status;
}

} // namespace rig
