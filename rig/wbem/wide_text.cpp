#include "wide_text.h"

#include <algorithm>

namespace rig::wbem {

namespace {

wchar_t Lower(wchar_t c) {
    return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c - L'A' + L'a') : c;
}

} // namespace

bool EqualsIgnoringCase(std::wstring_view wide, std::string_view ascii) {
    return std::equal(
        wide.begin(), wide.end(), ascii.begin(), ascii.end(),
        [](wchar_t left, char right) { return Lower(left) == Lower(static_cast<wchar_t>(right)); });
}

std::string Narrow(std::wstring_view wide) {
    std::string narrow;
    for (const wchar_t c : wide) {
        narrow += c >= L' ' && c <= L'~' ? static_cast<char>(c) : '?';
    }
    return narrow;
}

std::wstring Widen(std::string_view ascii) {
    return {ascii.begin(), ascii.end()};
}

} // namespace rig::wbem
