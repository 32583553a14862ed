/// Finds out which DLLs keep a library from loading. Windows itself reports only that some module
/// was not found.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace host {

struct MissingImport {
    std::string importer; ///< file name of the DLL that needs it
    std::string dll;      ///< its name as the importer spells it
    std::string reason;   ///< completes a sentence after "which ..."
    bool absent;          ///< false: there is a file, but it cannot be loaded
};

/// The folders that the loader searches for the imports of a library loaded by its path, in order.
/// They include the program's own folder, which Library adds with SetDllDirectory.
std::vector<std::filesystem::path> ImportFolders(const std::filesystem::path& library);

/// Tries to load every DLL that the library imports, and follows the imports of those that fail.
/// The path is absolute.
std::vector<MissingImport> FindMissingImports(const std::filesystem::path& library);

} // namespace host
