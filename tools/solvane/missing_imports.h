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

/// Tries to load every DLL that the library imports, and follows the imports of those that fail.
/// The path is absolute.
std::vector<MissingImport> FindMissingImports(const std::filesystem::path& library);

} // namespace host
