#include "wbem_call.h"

#include <cstdio>

#include <objidl.h>
#include <wbemidl.h>

#include "wide_text.h"

namespace rig::wbem {

std::string Describe(const wchar_t* text) {
    return text != nullptr ? Narrow(text) : "null";
}

std::string Describe(const void* pointer) {
    return pointer != nullptr ? "?" : "null";
}

std::string Describe(LONG number) {
    return std::to_string(number);
}

std::string Describe(ULONG number) {
    return std::to_string(number);
}

std::string Describe(Flags flags) {
    return Hexadecimal(static_cast<std::uint32_t>(flags.value));
}

std::string Describe(REFIID id) {
    return id == IID_IWbemLocator ? "IWbemLocator" : id == IID_IUnknown ? "IUnknown" : "?";
}

std::string HexStatus(std::uint32_t status) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%08x", static_cast<unsigned>(status));
    return text;
}

} // namespace rig::wbem
