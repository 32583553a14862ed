/// Program files for Windows, in the format that Microsoft's "PE Format" describes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace host {

/// What a DLL was built for.
enum class Processor {
    x64, ///< as the library itself
    x86,
    other,
    none ///< the file is not a DLL
};

/// Reads the bytes of a file, which it does not own. Nothing outside them is read, however damaged
/// they are: every function throws std::runtime_error with the reason instead.
class PeFile {
  public:
    explicit PeFile(std::string_view file);

    Processor BuiltFor() const;
    bool Is64Bit() const;

    /// A table that the header names, by its place in memory. Its size is 0 if there is none.
    struct Table {
        std::uint32_t address = 0;
        std::uint32_t size = 0;
    };
    Table Exports() const { return TableAt(0); }
    Table Imports() const { return TableAt(1); }

    /// The position in the file of what the loader maps to an address.
    std::size_t PositionOf(std::uint32_t address) const;
    bool IsExecutable(std::uint32_t address) const;

    std::uint32_t Word(std::size_t position) const;
    std::uint16_t Half(std::size_t position) const;

    /// The text at an address, which ends with a null character.
    std::string Text(std::uint32_t address) const;

  private:
    struct Section {
        std::uint32_t address;
        std::uint32_t size;       ///< in memory
        std::uint32_t sizeInFile; ///< the rest is zero
        std::uint32_t position;
        std::uint32_t flags;
    };

    Table TableAt(unsigned index) const;
    std::optional<Section> SectionAt(std::uint32_t address) const;
    std::size_t Number(std::size_t position, std::size_t size) const;

    std::string_view bytes;
    std::size_t fileHeader = 0;
    std::size_t optionalHeader = 0;
};

/// The processor that a DLL was built for.
Processor ProcessorOf(std::string_view file);

/// The DLLs that a 64-bit file imports, in the file's order. The list ends early when the file is
/// damaged or of another type.
std::vector<std::string> ImportedDlls(std::string_view file);

} // namespace host
