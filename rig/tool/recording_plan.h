/// What is to be placed in a host's folder so that the host is recorded.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "placement.h"
#include "recording_setup.h"

namespace rig {

/// A vendor's DLL of this machine.
struct InstalledDll {
    std::string name;           ///< one of kVendorDlls
    std::filesystem::path file; ///< where it is now
    std::string bytes;
    std::string version; ///< empty: it tells none
};

struct RecordingPlan {
    std::vector<HostFile> files; ///< without the DLL that records
    std::vector<std::string> warnings;
};

/// `setup` has the recording's file and head; what concerns the DLLs is added to it. Throws
/// std::runtime_error with the reason if a DLL cannot be recorded.
RecordingPlan PlanRecording(const std::vector<InstalledDll>& dlls,
                            const std::filesystem::path& hostFolder, record::RecordingSetup setup);

} // namespace rig
