/// Texts of the system beside texts of the rig, which are ASCII.
#pragma once

#include <string>
#include <string_view>

namespace rig::wbem {

/// As names and keys of WMI are compared.
bool EqualsIgnoringCase(std::wstring_view wide, std::string_view ascii);

/// With a question mark for what is not printable ASCII.
std::string Narrow(std::wstring_view wide);

std::wstring Widen(std::string_view ascii);

} // namespace rig::wbem
