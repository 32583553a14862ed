/// The record in a folder of the rig's DLLs in it: a text that explains them to people, and from
/// which they are removed again.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace rig {

/// A file of the rig in a host's folder.
struct PlacedDll {
    std::string name;
    std::string sum;      ///< the SHA-256 sum of the copy
    std::string original; ///< the name, as spelled, of the file it replaces; empty: none
};

std::string WriteRecord(const std::vector<PlacedDll>& dlls);

/// Returns nullopt if the text is not a record. All names in a result are names of the rig's DLLs.
std::optional<std::vector<PlacedDll>> ReadRecord(std::string_view text);

} // namespace rig
