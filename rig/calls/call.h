/// A vendor call as a message: which function, what goes in, what comes out.
#pragma once

#include <initializer_list>
#include <string>
#include <vector>

#include "vendor_function.h"

namespace rig {

struct Call {
    const VendorFunction& function;
    std::vector<Value> inputs;  ///< one a parameter; of a place, whether there is one
    std::vector<Value> outputs; ///< one a parameter; none at all when nothing came out
    std::uint32_t status = 0;
    std::uint32_t host = 0; ///< who calls: of several processes on one hardware
};

/// Who answers the calls of this process: fills in what comes out, and the status. The fronts
/// choose the simulated hardware of the process itself.
using Answerer = void (*)(Call&);
extern Answerer answerer;

/// Has a call of these arguments answered, writes to where they point, and returns its status. No
/// exception leaves a vendor function.
std::uint32_t Ask(const VendorFunction& function, std::initializer_list<std::uint64_t> arguments);

template <class... Arguments>
std::uint32_t Ask(Function function, Arguments... arguments) {
    return Ask(VendorFunctions()[static_cast<std::size_t>(function)], {AsNumber(arguments)...});
}

/// What a journal shows for a handle.
using NameOf = std::string (*)(std::uint64_t handle);

/// "FT_Write(SLV1B, [83])"
std::string TextOfQuestion(const Call& call, NameOf nameOfHandle);

/// " -> 0, 1"
std::string TextOfAnswer(const Call& call);

} // namespace rig
