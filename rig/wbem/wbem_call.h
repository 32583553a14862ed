/// What the methods of the rig's WMI have in common: how they are journalled.
#pragma once

#include <cstdint>
#include <string>

#include <unknwn.h>

#include "vendor_call.h"
#include "wbem_status.h"

namespace rig::wbem {

/// Printed as "0x20".
struct Flags {
    LONG value;
};

// Arguments as the journal shows them. Of a pointer it shows whether there is one.
std::string Describe(const wchar_t* text);
std::string Describe(const void* pointer);
std::string Describe(LONG number);
std::string Describe(ULONG number);
std::string Describe(Flags flags);
std::string Describe(REFIID id);

/// "0x80041017"
std::string HexStatus(std::uint32_t status);

/// Serves one call: counts and journals it with its inputs, and does the work(VendorCall&) unless a
/// fault stands in its place. No exception leaves a method.
template <class Work, class... Inputs>
HRESULT Serve(const char* method, Work work, Inputs... inputs) {
    try {
        VendorCall call(method, HexStatus);
        (call.Input(Describe(inputs)), ...);
        const auto workInNumbers = [&] { return static_cast<std::uint32_t>(work(call)); };
        return static_cast<HRESULT>(call.Answer(workInNumbers));
    } catch (...) {
        return kOutOfMemory;
    }
}

} // namespace rig::wbem
