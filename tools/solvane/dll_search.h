/// The folders where Windows searches for a library's imported DLLs, and the files in them.
#pragma once

#include <filesystem>
#include <string_view>
#include <vector>

#include <windows.h>

#include "machine.h"

namespace host {

/// The file of a loaded DLL, or of this program (null).
std::filesystem::path PathOf(HMODULE module);

/// The folders that the loader searches for the imports of a library loaded by its path, in order.
/// They include the program's own folder, which Library adds with SetDllDirectory.
std::vector<std::filesystem::path> LoaderFolders(const std::filesystem::path& library);

/// The files of that name, in the order of the folders, without duplicates.
std::vector<std::filesystem::path> FindFiles(const std::vector<std::filesystem::path>& folders,
                                             const std::filesystem::path& name);

/// The processor that a DLL was built for.
Processor ProcessorOf(const std::filesystem::path& dll);

} // namespace host
