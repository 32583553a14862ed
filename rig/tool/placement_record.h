/// What a folder is told of the rig's DLLs in it: a text for whoever finds them there, and for
/// taking them away.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace rig {

/// A DLL of the rig's in a host's folder.
struct PlacedDll {
    std::string name;
    std::string sum;      ///< the SHA-256 sum of the copy
    std::string original; ///< how the file is written that it takes the place of; empty: none
};

std::string WriteRecord(const std::vector<PlacedDll>& dlls);

/// None of a text that is no record. All names are those of the rig's DLLs.
std::optional<std::vector<PlacedDll>> ReadRecord(std::string_view text);

} // namespace rig
