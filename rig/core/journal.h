/// What happened, in order: kept in memory for the program that asks, and in a file for people.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <filesystem>
#include <fstream>
#include <string>

#include <solvane/rig.h>

namespace rig {

class Journal {
  public:
    struct Entry {
        std::uint64_t time; ///< nanoseconds
        rig_entry_kind kind;
        std::string text;
    };

    /// The oldest entries make room for new ones beyond this many.
    static constexpr std::size_t kCapacity = 65'536;

    void Add(Entry entry);
    void Clear() { entries.clear(); }

    std::size_t Size() const { return entries.size(); }
    const Entry& operator[](std::size_t index) const { return entries[index]; }

    /// Appends the lines of all entries since one that is given by its number, counted from 0 since
    /// the process began, and gives the number of the next.
    std::uint64_t LinesSince(std::uint64_t first, std::string& lines) const;

    /// Writes every later entry to a file as well. False when it cannot be opened.
    bool CopyTo(const std::filesystem::path& path);

    /// Tells the reader of the file that times start again.
    void MarkStart();

  private:
    std::deque<Entry> entries;
    std::uint64_t added = 0; ///< since the process began
    std::ofstream file;
};

} // namespace rig
