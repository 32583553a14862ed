/// What became of a recording.
#pragma once

#include <cstddef>
#include <filesystem>
#include <ostream>

namespace rig {

/// Tells what is in a recording, and in those of further processes beside it, each in a line, and
/// cuts off what a host that was ended has left empty at their ends. Returns the number of calls in
/// all of them.
std::size_t PrintRecordings(const std::filesystem::path& first, std::ostream& out);

} // namespace rig
