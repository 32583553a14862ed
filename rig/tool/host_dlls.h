/// The rig's DLLs that a host loads.
#pragma once

#include <algorithm>
#include <array>
#include <span>
#include <string_view>

namespace rig {

/// Those with the names of the vendors' DLLs come after the one into which they forward, so that
/// none of them is ever placed without it.
inline constexpr std::array<const char*, 4> kHostDlls = {"solvane_rig.dll", "FTD2XX.dll",
                                                         "inpoutx64.dll", "EAPI_Library.dll"};
inline constexpr std::span<const char* const, 3> kVendorDlls =
    std::span<const char* const, 4>(kHostDlls).subspan<1>();

/// Whether two names are those of one DLL to Windows, for which letters have no case.
inline bool IsSameName(std::string_view one, std::string_view other) {
    const auto lower = [](char letter) {
        return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
    };
    return std::equal(one.begin(), one.end(), other.begin(), other.end(),
                      [&](char a, char b) { return lower(a) == lower(b); });
}

} // namespace rig
