/// Where Windows looks for the DLLs that a library imports, and what lies there.
#pragma once

#include <filesystem>
#include <string_view>
#include <vector>

#include <windows.h>

#include "machine.h"

namespace host {

/// The file of a loaded DLL, or of this program (null).
std::filesystem::path PathOf(HMODULE module);

/// The folders in which the loader looks for what a library that it was given by its path imports,
/// in its order, once Library has named the program's own.
std::vector<std::filesystem::path> LoaderFolders(const std::filesystem::path& library);

/// The files of that name in the folders, in their order, each once.
std::vector<std::filesystem::path> FindFiles(const std::vector<std::filesystem::path>& folders,
                                             const std::filesystem::path& name);

/// The processor that a DLL is for.
Processor ProcessorOf(const std::filesystem::path& dll);

} // namespace host
