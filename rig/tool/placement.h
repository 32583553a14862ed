/// The rig's DLLs in the folder from which a host loads. Windows looks there before anywhere else,
/// and into its own folders, where a vendor's driver may have put a DLL for real hardware, before
/// the search path.
#pragma once

#include <filesystem>
#include <ostream>

namespace rig {

/// The file in a host's folder that tells what is placed there.
inline constexpr const char* kPlacementRecord = "solvane-rig-placed.txt";

// Both tell of every change in a line, and throw std::runtime_error with the reason when they
// cannot do what they are asked. After a crash at whatever step Unplace() brings back what was.

/// Puts copies of the DLLs in the folder `rig` into `folder`, or does nothing at all. Files of the
/// same names are set aside there, under another name, or, without `setAside`, a reason to refuse.
void Place(const std::filesystem::path& rig, const std::filesystem::path& folder, bool setAside,
           std::ostream& out);

/// Takes away what Place() has put into a folder, and puts back what it has set aside. What has
/// been changed since stays as it is, and is a failure.
void Unplace(const std::filesystem::path& folder, std::ostream& out);

} // namespace rig
