#include "pe_file.h"

#include <algorithm>
#include <stdexcept>

namespace host {

namespace {

// Offsets count from the beginning of each structure.
constexpr std::size_t kOffsetOfPe = 0x3C; ///< in the MS-DOS header
constexpr std::string_view kSignature{"PE\0\0", 4};
constexpr std::size_t kFileHeaderSize = 20;
constexpr std::uint16_t kPe32 = 0x10B;
constexpr std::uint16_t kPe64 = 0x20B;
constexpr std::size_t kSectionHeaderSize = 40;
constexpr std::uint32_t kExecutable = 0x2000'0000;
constexpr std::size_t kImportSize = 20;

} // namespace

PeFile::PeFile(std::string_view file) : bytes(file) {
    const bool isProgram = bytes.starts_with("MZ");
    const std::size_t signature = isProgram ? Word(kOffsetOfPe) : 0;
    if (!isProgram ||
        bytes.substr(std::min(signature, bytes.size()), kSignature.size()) != kSignature) {
        throw std::runtime_error("it is no program file for Windows");
    }
    fileHeader = signature + kSignature.size();
    optionalHeader = fileHeader + kFileHeaderSize;
}

Processor PeFile::BuiltFor() const {
    switch (Half(fileHeader)) {
    case 0x8664:
        return Processor::x64;
    case 0x014C:
        return Processor::x86;
    case 0:
        return Processor::none;
    default:
        return Processor::other;
    }
}

bool PeFile::Is64Bit() const {
    const std::uint16_t format = Half(optionalHeader);
    if (format != kPe32 && format != kPe64) {
        throw std::runtime_error("it is damaged: its header is of an unknown kind");
    }
    return format == kPe64;
}

PeFile::Table PeFile::TableAt(unsigned index) const {
    const std::size_t tables = optionalHeader + (Is64Bit() ? 112 : 96); // after their count
    const std::size_t position = tables + 8U * index;
    return index < Word(tables - 4) ? Table{Word(position), Word(position + 4)} : Table{};
}

std::optional<PeFile::Section> PeFile::SectionAt(std::uint32_t address) const {
    const unsigned count = Half(fileHeader + 2);
    std::size_t position = optionalHeader + Half(fileHeader + 16);
    for (unsigned i = 0; i < count; ++i, position += kSectionHeaderSize) {
        const std::uint32_t sizeInFile = Word(position + 16);
        const Section section{Word(position + 12), std::max(Word(position + 8), sizeInFile),
                              sizeInFile, Word(position + 20), Word(position + 36)};
        if (address >= section.address && address - section.address < section.size) {
            return section;
        }
    }
    return std::nullopt;
}

std::size_t PeFile::PositionOf(std::uint32_t address) const {
    const std::optional<Section> section = SectionAt(address);
    if (!section || address - section->address >= section->sizeInFile) {
        throw std::runtime_error("it is damaged: its tables lie outside it");
    }
    return std::size_t{section->position} + (address - section->address);
}

bool PeFile::IsExecutable(std::uint32_t address) const {
    const std::optional<Section> section = SectionAt(address);
    return section && (section->flags & kExecutable) != 0;
}

std::uint32_t PeFile::Word(std::size_t position) const {
    return static_cast<std::uint32_t>(Number(position, 4));
}

std::uint16_t PeFile::Half(std::size_t position) const {
    return static_cast<std::uint16_t>(Number(position, 2));
}

std::string PeFile::Text(std::uint32_t address) const {
    const std::size_t begin = PositionOf(address);
    const std::size_t end = bytes.find('\0', std::min(begin, bytes.size()));
    if (end == std::string_view::npos) {
        throw std::runtime_error("it is damaged: it ends too early");
    }
    return std::string(bytes.substr(begin, end - begin));
}

std::size_t PeFile::Number(std::size_t position, std::size_t size) const {
    if (position > bytes.size() || bytes.size() - position < size) {
        throw std::runtime_error("it is damaged: it ends too early");
    }
    std::size_t number = 0;
    for (std::size_t i = size; i-- > 0;) {
        number = number << 8 | static_cast<unsigned char>(bytes[position + i]);
    }
    return number;
}

Processor ProcessorOf(std::string_view file) {
    try {
        return PeFile(file).BuiltFor();
    } catch (const std::runtime_error&) {
        return Processor::none;
    }
}

std::vector<std::string> ImportedDlls(std::string_view file) {
    std::vector<std::string> dlls;
    try {
        const PeFile importer(file);
        const PeFile::Table imports = importer.Is64Bit() ? importer.Imports() : PeFile::Table{};
        for (std::uint32_t address = imports.address; address != 0; address += kImportSize) {
            const std::uint32_t name = importer.Word(importer.PositionOf(address) + 12);
            if (name == 0) { // the end of the list
                break;
            }
            dlls.push_back(importer.Text(name));
        }
    } catch (const std::runtime_error&) { // NOLINT(bugprone-empty-catch)
        // A damaged file has no more than was read.
    }
    return dlls;
}

} // namespace host
