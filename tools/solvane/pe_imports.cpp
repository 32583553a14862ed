#include "pe_imports.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <type_traits>

#include <windows.h>

namespace host {

namespace {

using Bytes = std::span<const std::byte>;

template <typename Structure>
std::optional<Structure> ReadAt(Bytes file, std::size_t offset) {
    static_assert(std::is_trivially_copyable_v<Structure>);
    if (offset > file.size() || file.size() - offset < sizeof(Structure)) {
        return std::nullopt;
    }
    Structure structure;
    std::memcpy(&structure, file.data() + offset, sizeof structure);
    return structure;
}

std::optional<std::string> TextAt(Bytes file, std::size_t offset) {
    if (offset >= file.size()) {
        return std::nullopt;
    }
    const Bytes rest = file.subspan(offset);
    const auto end = std::find(rest.begin(), rest.end(), std::byte{0});
    if (end == rest.end()) {
        return std::nullopt;
    }
    return std::string(reinterpret_cast<const char*>(rest.data()),
                       static_cast<std::size_t>(end - rest.begin()));
}

/// Maps addresses in memory to positions in the file, by the table of sections.
struct SectionTable {
    Bytes file;
    std::size_t offset;
    unsigned count;

    std::optional<std::size_t> FileOffset(std::size_t address) const {
        for (unsigned i = 0; i < count; ++i) {
            const auto section =
                ReadAt<IMAGE_SECTION_HEADER>(file, offset + i * sizeof(IMAGE_SECTION_HEADER));
            if (section && address >= section->VirtualAddress &&
                address - section->VirtualAddress < section->SizeOfRawData) {
                return address - section->VirtualAddress + section->PointerToRawData;
            }
        }
        return std::nullopt;
    }
};

std::optional<std::string> ImportName(const SectionTable& sections, std::size_t address) {
    const auto descriptorOffset = sections.FileOffset(address);
    if (!descriptorOffset) {
        return std::nullopt;
    }
    const auto descriptor = ReadAt<IMAGE_IMPORT_DESCRIPTOR>(sections.file, *descriptorOffset);
    if (!descriptor || descriptor->Name == 0) { // all zero: the end of the list
        return std::nullopt;
    }
    const auto nameOffset = sections.FileOffset(descriptor->Name);
    return nameOffset ? TextAt(sections.file, *nameOffset) : std::nullopt;
}

} // namespace

std::vector<std::string> ImportedDlls(Bytes file) {
    const auto dos = ReadAt<IMAGE_DOS_HEADER>(file, 0);
    if (!dos || dos->e_magic != IMAGE_DOS_SIGNATURE || dos->e_lfanew < 0) {
        return {};
    }
    const auto headersOffset = static_cast<std::size_t>(dos->e_lfanew);
    const auto headers = ReadAt<IMAGE_NT_HEADERS64>(file, headersOffset);
    if (!headers || headers->Signature != IMAGE_NT_SIGNATURE ||
        headers->OptionalHeader.Magic != IMAGE_NT_OPTIONAL_HDR64_MAGIC ||
        headers->OptionalHeader.NumberOfRvaAndSizes <= IMAGE_DIRECTORY_ENTRY_IMPORT) {
        return {};
    }
    const SectionTable sections{file,
                                headersOffset + offsetof(IMAGE_NT_HEADERS64, OptionalHeader) +
                                    headers->FileHeader.SizeOfOptionalHeader,
                                headers->FileHeader.NumberOfSections};

    std::vector<std::string> dlls;
    std::size_t address =
        headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
    while (const auto name = ImportName(sections, address)) {
        dlls.push_back(*name);
        address += sizeof(IMAGE_IMPORT_DESCRIPTOR);
    }
    return dlls;
}

} // namespace host
