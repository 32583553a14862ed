#include "same_call.h"

namespace rig::record {

namespace {

/// Whether an input of FT_ListDevices is an address; the flags, its last input, decide.
bool IsAddress(const Call& call, std::size_t input) {
    const bool isNumber = input == 0 && (Number(call.inputs.back()) & usb::kListByIndex) != 0;
    return call.function.parameters[input].passing == Passing::Either && !isNumber;
}

} // namespace

bool AsksTheSame(const Call& one, const Call& other) {
    if (one.function.id != other.function.id || one.inputs.size() != other.inputs.size()) {
        return false;
    }
    for (std::size_t i = 0; i < one.inputs.size(); ++i) {
        const Value& a = one.inputs[i];
        const Value& b = other.inputs[i];
        const bool areAddresses = IsAddress(one, i) && IsAddress(other, i);
        if (areAddresses ? (Number(a) == 0) != (Number(b) == 0) : a != b) {
            return false;
        }
    }
    return true;
}

} // namespace rig::record
