/// The rig's DLLs that a host loads.
#pragma once

#include <algorithm>
#include <array>
#include <span>
#include <string_view>

namespace rig {

/// solvane_rig.dll comes first because the others forward into it: none is ever placed without it.
inline constexpr std::array<const char*, 4> kHostDlls = {"solvane_rig.dll", "FTD2XX.dll",
                                                         "inpoutx64.dll", "EAPI_Library.dll"};
inline constexpr std::span<const char* const, 3> kVendorDlls =
    std::span<const char* const, 4>(kHostDlls).subspan<1>();

/// What stands between a host and the vendors' DLLs while it is recorded: the logic of those that
/// have their names, and what it is told.
inline constexpr const char* kRecordDll = "solvane_record.dll";
inline constexpr const char* kRecordSetup = "solvane-record.txt";

/// Every file that is ever placed in a host's folder.
inline constexpr std::array<const char*, 6> kPlacedFiles = {
    kHostDlls[0], kRecordDll, kRecordSetup, kHostDlls[1], kHostDlls[2], kHostDlls[3]};

/// Compares DLL names as Windows does, ignoring case.
inline bool IsSameName(std::string_view one, std::string_view other) {
    const auto lower = [](char letter) {
        return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
    };
    return std::equal(one.begin(), one.end(), other.begin(), other.end(),
                      [&](char a, char b) { return lower(a) == lower(b); });
}

} // namespace rig
