/// The list of DLLs that a program file wants loaded with it.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <vector>

namespace host {

/// The imported DLLs of a 64-bit program file, in the file's order. A file that is damaged or no
/// such program ends the list early; nothing outside the bytes is read.
std::vector<std::string> ImportedDlls(std::span<const std::byte> file);

} // namespace host
