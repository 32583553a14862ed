#include "placement_record.h"

#include <algorithm>
#include <sstream>

#include "host_dlls.h"

namespace rig {

namespace {

// Lines with a checksum and a name are as sha256sum writes them; it ignores the others.
constexpr std::string_view kHead = "# The virtual rig is in this folder: programs that start here "
                                   "meet a simulated camera, and no\n"
                                   "# real one. `solvane-rig unplace` with this folder takes the "
                                   "rig's DLLs away and puts back what\n"
                                   "# was here before. It needs this file for that.\n";
constexpr std::string_view kOriginal = "# set aside: ";
constexpr std::string_view kBetween = "  ";
constexpr std::size_t kSumLength = 64;

constexpr std::string_view kHeadOfRecording =
    "# Programs that start in this folder are recorded: what they call of the vendors' DLLs goes\n"
    "# into a file, which solvane-record.txt names. `solvane-rig unplace` with this folder ends\n"
    "# that and puts back what was here before. It needs this file for that.\n";

bool IsKnown(std::string_view name) {
    return std::find(kPlacedFiles.begin(), kPlacedFiles.end(), name) != kPlacedFiles.end();
}

/// Reads a line into `dlls`; false when it does not belong in a record.
bool Add(const std::string& line, std::vector<PlacedDll>& dlls) {
    if (line.starts_with(kOriginal)) {
        const std::string name = line.substr(kOriginal.size());
        if (dlls.empty() || !IsSameName(name, dlls.back().name)) {
            return false;
        }
        dlls.back().original = name;
        return true;
    }
    if (line.starts_with('#')) {
        return true;
    }
    if (line.find(kBetween) != kSumLength) {
        return false;
    }
    const std::string name = line.substr(kSumLength + kBetween.size());
    dlls.push_back({name, line.substr(0, kSumLength), {}});
    return IsKnown(name);
}

} // namespace

std::string WriteRecord(const std::vector<PlacedDll>& dlls) {
    std::ostringstream text;
    const bool isRecording = std::any_of(
        dlls.begin(), dlls.end(), [](const PlacedDll& dll) { return dll.name == kRecordDll; });
    text << (isRecording ? kHeadOfRecording : kHead);
    for (const PlacedDll& dll : dlls) {
        text << dll.sum << kBetween << dll.name << '\n';
        if (!dll.original.empty()) {
            text << kOriginal << dll.original << '\n';
        }
    }
    return text.str();
}

std::optional<std::vector<PlacedDll>> ReadRecord(std::string_view text) {
    std::istringstream lines{std::string(text)};
    std::vector<PlacedDll> dlls;
    for (std::string line; std::getline(lines, line);) {
        if (line.ends_with('\r')) { // an editor may have added it
            line.pop_back();
        }
        if (!Add(line, dlls)) {
            return std::nullopt;
        }
    }
    return dlls.empty() ? std::nullopt : std::optional(std::move(dlls));
}

} // namespace rig
