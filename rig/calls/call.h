/// A vendor call as a message: the function, its inputs and its outputs.
#pragma once

#include <functional>
#include <initializer_list>
#include <span>
#include <string>
#include <vector>

#include "vendor_function.h"

namespace rig {

struct Call {
    const VendorFunction& function;
    std::vector<Value> inputs;  ///< one per parameter; an output pointer is empty if null, else 1
    std::vector<Value> outputs; ///< one per parameter, or empty when the call has no output
    std::uint32_t status = 0;
    std::uint32_t host = 0; ///< the calling process, when several share one hardware
};

/// Answers every call of this process: fills in the outputs and the status. Linking a stand-in sets
/// it to rig::Answer.
using Answerer = void (*)(Call&);
extern Answerer answerer;

/// The call that a host makes with these arguments, numbers or pointers to what goes in.
Call CallOf(const VendorFunction& function, std::span<const std::uint64_t> arguments);

/// Packs the arguments into a Call, has it answered, writes the outputs through the pointers and
/// returns the status. Never throws: hosts call the vendor functions from C.
std::uint32_t Ask(const VendorFunction& function, std::initializer_list<std::uint64_t> arguments);

template <class... Arguments>
std::uint32_t Ask(Function function, Arguments... arguments) {
    return Ask(Described(function), {AsNumber(arguments)...});
}

/// Gives the text by which the journal shows a handle.
using NameOf = std::function<std::string(std::uint64_t handle)>;

/// "FT_Write(SLV1B, [83])"
std::string TextOfQuestion(const Call& call, const NameOf& nameOfHandle);

/// " -> 0, 1"
std::string TextOfAnswer(const Call& call);

} // namespace rig
