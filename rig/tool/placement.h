/// Places DLLs in a host's folder: the rig's, or those that record. Windows searches that folder
/// first, then its own folders, where a vendor's driver may have installed a DLL for real hardware,
/// and the search path last.
#pragma once

#include <filesystem>
#include <ostream>
#include <string>
#include <vector>

namespace rig {

/// The file in a host's folder that lists what is placed there.
inline constexpr const char* kPlacementRecord = "solvane-rig-placed.txt";

/// A file that makes way for a placed one has its name with this at the end meanwhile.
inline constexpr const char* kAsideEnding = ".set-aside-by-solvane-rig";

/// A file to be placed.
struct HostFile {
    std::string name; ///< one of kPlacedFiles
    std::string bytes;
};

// All print a line for each change, and throw std::runtime_error with the reason when they fail.
// After a crash at any step, Unplace() restores the folder.

/// Copies the DLLs from the folder `rig` into `folder`, all or none. Existing files of the same
/// names are renamed with `setAside`; without it, this throws.
void Place(const std::filesystem::path& rig, const std::filesystem::path& folder, bool setAside,
           std::ostream& out);

/// The same with other files, in the order in which they are to appear.
void Place(const std::vector<HostFile>& files, const std::filesystem::path& folder, bool setAside,
           std::ostream& out);

/// Removes what Place() put into a folder and restores what it set aside. Files changed since stay
/// as they are, and then this throws.
void Unplace(const std::filesystem::path& folder, std::ostream& out);

} // namespace rig
