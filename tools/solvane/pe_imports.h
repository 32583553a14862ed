/// Reads the import table of a PE file.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <vector>

namespace host {

/// The DLLs that a 64-bit PE file imports, in the file's order. The list ends early when the file
/// is damaged or of another type; nothing outside `file` is read.
std::vector<std::string> ImportedDlls(std::span<const std::byte> file);

} // namespace host
