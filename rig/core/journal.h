/// The log of what happened: in memory for programs, and in a file for people.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <filesystem>
#include <fstream>
#include <string>

#include <solvane/rig.h>

#include "host_number.h"

namespace rig {

class Journal {
  public:
    struct Entry {
        std::uint64_t time; ///< nanoseconds
        rig_entry_kind kind;
        std::string text;
        HostNumber host = kThisProcess; ///< whose call it is
    };

    /// The oldest entries make room for new ones beyond this many.
    static constexpr std::size_t kCapacity = 65'536;

    void Add(Entry entry);
    void Clear();

    // Entry numbers are never reused. The entries kept are those from Begin() on.
    std::uint64_t Begin() const { return forgotten; }
    std::uint64_t End() const { return forgotten + entries.size(); }

    std::size_t Size() const { return entries.size(); }
    const Entry& operator[](std::size_t index) const { return entries[index]; }

    /// Writes every later entry to a file as well. False when it cannot be opened.
    bool CopyTo(const std::filesystem::path& path);

    /// Marks in the file that times start again from 0.
    void MarkStart();

  private:
    std::deque<Entry> entries;
    std::uint64_t forgotten = 0;
    std::ofstream file;
};

/// "     12.345678 call  FT_Open(1) -> 0", times in milliseconds. The calls of a bench's second and
/// later hosts begin with "host 2: ".
std::string LineOf(const Journal::Entry& entry);

} // namespace rig
