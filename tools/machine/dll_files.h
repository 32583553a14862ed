/// The files of DLLs, and the folders where Windows searches for them.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include <windows.h>

namespace host {

/// The file of a loaded DLL, or of this program (null).
std::filesystem::path FileOf(HMODULE module);

/// The folder of this program.
std::filesystem::path ProgramFolder();

/// The folders that the loader searches, in order: `first`, those of Windows, and those of PATH.
std::vector<std::filesystem::path> LoaderFolders(std::vector<std::filesystem::path> first);

/// The files of that name, in the order of the folders, without duplicates.
std::vector<std::filesystem::path> FindFiles(const std::vector<std::filesystem::path>& folders,
                                             const std::filesystem::path& name);

/// "3.2.14.0", from the version resource of a file; empty if it has none.
std::string VersionOf(const std::filesystem::path& file);

} // namespace host
