/// A file that is written through memory: what is written survives the process.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

namespace rig::record {

/// Not for several threads at once.
class MappedFile {
  public:
    static constexpr std::size_t kPiece = std::size_t{1} << 20;

    /// Creates the file. If there is one already, the name gets a number: "field-2.rec". Throws
    /// std::runtime_error with the reason if the file cannot be created.
    explicit MappedFile(const std::filesystem::path& wanted);
    ~MappedFile();
    MappedFile(const MappedFile&) = delete;
    MappedFile& operator=(const MappedFile&) = delete;

    /// Maps the next `kPiece` bytes. Their room on the disk is taken before, with zeros, or writing
    /// to them could end the process. Null if there is no room; Reason() tells why.
    char* MapNext();

    static void Unmap(char* piece);

    /// Ends the file behind its first `size` bytes. No piece may be mapped.
    void Cut(std::uint64_t size);

    /// Adds to the end of the file, by a system call, after Cut().
    void Append(std::string_view bytes);

    const std::filesystem::path& Path() const { return path; }
    const std::string& Reason() const { return reason; }

  private:
    std::filesystem::path path;
    std::string reason;
    std::uint64_t size = 0;
    std::intptr_t file = -1; ///< the system's handle or descriptor
};

/// "field.rec", "field-2.rec", "field-3.rec", ...
std::filesystem::path Numbered(const std::filesystem::path& wanted, unsigned number);

/// Has `work` done by another thread, soon, or by this one at once.
void DoSoon(void (*work)(void*), void* argument);

} // namespace rig::record
