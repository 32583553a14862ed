/// Reading a host's memory, through pointers that may be wrong.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace rig::record {

/// Whether so many bytes can be read. It takes no system call on the calling thread's stack, where
/// most hosts have what they pass.
bool IsReadable(std::uint64_t address, std::size_t size);

// These are empty when the memory cannot be read.

std::optional<std::string> BytesAt(std::uint64_t address, std::size_t size);

/// A little-endian number of at most eight bytes.
std::optional<std::uint64_t> NumberAt(std::uint64_t address, std::size_t size);

/// Characters up to a zero, or as many as there is room for.
std::optional<std::string> TextAt(std::uint64_t address, std::size_t room);

} // namespace rig::record
