/// The single steps of placing DLLs in a folder.
#pragma once

#include <filesystem>
#include <string_view>

namespace rig {

// No step replaces a file that exists. A step that fails changes nothing and throws
// std::runtime_error with the reason.

/// Creates a file and flushes it to the disk. After a crash it may be incomplete.
void CreateNewFile(const std::filesystem::path& path, std::string_view bytes);

/// Renames a file within its folder.
void RenameFile(const std::filesystem::path& from, const std::filesystem::path& to);

void RemoveFile(const std::filesystem::path& path);

/// Whether a folder belongs to the system, from which every program may load DLLs.
bool IsOfTheSystem(const std::filesystem::path& folder);

} // namespace rig
