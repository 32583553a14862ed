/// What a machine has that a recording is to tell of.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "recording.h"
#include "recording_plan.h"

namespace rig {

/// The vendors' DLLs that a host finds whose own are in `hostFolder`: those in `real`, if that is
/// not empty, then those of the host, of Windows and of the search path. Throws std::runtime_error
/// with the reason if one cannot be read, or if there is none at all.
std::vector<InstalledDll> FindVendorDlls(const std::filesystem::path& real,
                                         const std::filesystem::path& hostFolder);

/// "Windows 10.0.19045.3803", or "Windows 10.0.19043, Wine 8.0".
std::string SystemVersion();

/// The parallel ports that Windows' management interface knows; none if it does not answer.
std::vector<record::ReportedPort> ReportedParallelPorts();

} // namespace rig
