/// What solvane-rig tells the recording DLLs in a host's folder, in a file beside them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "recording.h"

namespace rig::record {

/// The file beside the DLLs.
inline constexpr const char* kSetupFile = "solvane-record.txt";

/// solvane_record.dll can pass so many exports on unseen, in slots that it exports by their
/// ordinals alone.
inline constexpr unsigned kSlots = SOLVANE_RECORD_SLOTS;
inline constexpr unsigned kFirstSlot = SOLVANE_RECORD_FIRST_SLOT; ///< the ordinal

/// The vendor's DLL behind one that passes calls on.
struct RealDll {
    std::string name; ///< "FTD2XX.dll"
    std::string path; ///< UTF-8, with the file
    bool operator==(const RealDll&) const = default;
};

/// An export that is passed on unseen.
struct PassedExport {
    std::string dll;
    unsigned ordinal = 0;
    std::string name; ///< empty: it is known by its ordinal alone
    bool operator==(const PassedExport&) const = default;
};

struct RecordingSetup {
    std::string file; ///< where to record; the second process gets a file of its own, and so on
    std::vector<RealDll> dlls;
    std::vector<PassedExport> passed; ///< in the order of the slots that they were given
    Head head;                        ///< of the recording; the program is not known yet
    bool operator==(const RecordingSetup&) const = default;
};

std::string TextOf(const RecordingSetup& setup);

/// Throws std::runtime_error with the reason.
RecordingSetup ReadSetup(std::string_view text);

} // namespace rig::record
