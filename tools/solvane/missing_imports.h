/// Finds out which DLLs keep a library from being loaded, because Windows itself tells only that
/// some module was not found.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace host {

struct MissingImport {
    std::string importer; ///< file name of the DLL that needs it
    std::string dll;      ///< its name as the importer spells it
    std::string reason;   ///< goes on after "which ..."
    bool absent;          ///< there is no such file, rather than one that does not fit
};

/// Tries every DLL that the library imports, and what those import in turn where that is what is
/// missing. The path is absolute.
std::vector<MissingImport> FindMissingImports(const std::filesystem::path& library);

} // namespace host
