/// What placing changes in a folder, step by step.
#pragma once

#include <filesystem>
#include <string_view>

namespace rig {

// No step ever touches a file that is in its way. One that cannot be done has done nothing, and
// throws std::runtime_error with the reason.

/// Makes a file, which is on the disk when this returns. After a crash it may be there in part.
void CreateNewFile(const std::filesystem::path& path, std::string_view bytes);

/// Gives a file another name in its folder.
void RenameFile(const std::filesystem::path& from, const std::filesystem::path& to);

void RemoveFile(const std::filesystem::path& path);

/// Whether a folder belongs to the system, so that more than one program loads from it.
bool IsOfTheSystem(const std::filesystem::path& folder);

} // namespace rig
