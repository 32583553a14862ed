#include "dll_exports.h"

#include <algorithm>
#include <map>
#include <stdexcept>

#include "pe_file.h"

namespace rig {

namespace {

// Microsoft's "PE Format" has these.
constexpr std::size_t kExportDirectorySize = 40;

/// Ordinals have 16 bits: a damaged count is not believed.
constexpr std::uint32_t kMostExports = 65'536;

std::uint32_t Count(const host::PeFile& file, std::size_t position) {
    const std::uint32_t count = file.Word(position);
    if (count > kMostExports) {
        throw std::runtime_error("it is damaged: it has too many exports");
    }
    return count;
}

void ReadExports(const host::PeFile& file, DllImage& image) {
    const auto [begin, size] = file.Exports();
    const std::size_t directory = file.PositionOf(begin);
    image.name = file.Text(file.Word(directory + 12));
    const std::uint32_t base = file.Word(directory + 16);
    const std::uint32_t count = Count(file, directory + 20);
    if (base > kMostExports - count) {
        throw std::runtime_error("it is damaged: its ordinals are too large");
    }
    const std::uint32_t nameCount = Count(file, directory + 24);
    std::map<std::uint32_t, std::vector<std::string>> names;
    for (std::uint32_t i = 0; i < nameCount; ++i) {
        const std::size_t name = file.PositionOf(file.Word(directory + 32) + 4 * i);
        const std::size_t index = file.PositionOf(file.Word(directory + 36) + 2 * i);
        names[file.Half(index)].push_back(file.Text(file.Word(name)));
    }
    for (std::uint32_t i = 0; i < count; ++i) {
        const std::uint32_t place = file.Word(file.PositionOf(file.Word(directory + 28) + 4 * i));
        if (place == 0) { // a gap in the ordinals
            continue;
        }
        const bool isForward = place >= begin && place - begin < size;
        image.exports.push_back({base + i, names[i], isForward ? file.Text(place) : "",
                                 !isForward && !file.IsExecutable(place)});
    }
}

/// Bytes with little-endian numbers in them.
class Writer {
  public:
    Writer& Half(std::size_t number) { return Number(number, 2); }
    Writer& Word(std::size_t number) { return Number(number, 4); }
    Writer& Number(std::size_t number, std::size_t size) {
        for (std::size_t i = 0; i < size; ++i) {
            bytes += static_cast<char>(number >> 8 * i);
        }
        return *this;
    }
    Writer& Text(const std::string& text) {
        bytes.append(text).append(1, '\0');
        return *this;
    }
    Writer& FillTo(std::size_t size) {
        bytes.resize(std::max(size, bytes.size()));
        return *this;
    }

    std::string bytes;
};

constexpr std::size_t kPage = 0x1000;   ///< of the image in memory
constexpr std::size_t kSector = 0x200;  ///< of the file
constexpr std::size_t kExports = kPage; ///< where the only section is mapped to

std::size_t RoundedUp(std::size_t size, std::size_t unit) {
    return (size + unit - 1) / unit * unit;
}

/// The section with all exports. Names are sorted, because the loader searches them by halves.
std::string ExportSection(const std::string& dll, const std::vector<DllExport>& exports) {
    const std::uint32_t base = exports.empty() ? 1 : exports.front().ordinal;
    const std::size_t count = exports.empty() ? 0 : exports.back().ordinal - base + 1;
    std::map<std::string, std::uint32_t> names;
    std::size_t texts = 0; // the first place behind the tables
    for (const DllExport& one : exports) {
        for (const std::string& name : one.names) {
            names[name] = one.ordinal - base;
        }
    }
    texts = kExports + kExportDirectorySize + 4 * count + 6 * names.size();
    Writer tail;
    const auto placed = [&](const std::string& text) {
        const std::size_t place = texts + tail.bytes.size();
        tail.Text(text);
        return place;
    };
    Writer head;
    const std::size_t addresses = kExports + kExportDirectorySize;
    head.Word(0).Word(0).Word(0).Word(placed(dll)).Word(base).Word(count).Word(names.size());
    head.Word(addresses).Word(addresses + 4 * count).Word(addresses + 4 * count + 4 * names.size());
    std::vector<std::size_t> places(count, 0);
    for (const DllExport& one : exports) {
        places[one.ordinal - base] = placed(one.forward);
    }
    for (const std::size_t place : places) {
        head.Word(place);
    }
    for (const auto& [name, index] : names) {
        head.Word(placed(name));
    }
    for (const auto& [name, index] : names) {
        head.Half(index);
    }
    return head.bytes + tail.bytes;
}

/// The headers of a 64-bit DLL for Windows 10 with one section, which is only read.
std::string Headers(std::size_t sectionSize) {
    constexpr std::size_t kPeBegins = 0x40;
    constexpr std::size_t kOptionalHeader = kPeBegins + 4 + 20; // after "PE\0\0" and one header
    constexpr std::uint16_t kMachine64 = 0x8664;
    constexpr std::uint16_t kPe64 = 0x20B;
    constexpr std::size_t kOptionalHeaderSize = 240;
    constexpr std::uint64_t kPreferredBase = 0x1'8000'0000;
    constexpr std::uint16_t kDll = 0x2022;       // executable, may be large, a DLL
    constexpr std::uint16_t kWhere = 0x0160;     // anywhere in 64 bits; no data is executed
    constexpr std::uint16_t kGraphical = 2;      // as all DLLs may be
    constexpr std::uint32_t kRead = 0x4000'0040; // initialised data that can be read
    const std::size_t inFile = RoundedUp(sectionSize, kSector);
    Writer to;
    to.Half(0x5A4D).FillTo(0x3C).Word(kPeBegins); // "MZ"
    to.Word(0x4550);                              // "PE"
    to.Half(kMachine64).Half(1).Word(0).Word(0).Word(0).Half(kOptionalHeaderSize).Half(kDll);
    to.Half(kPe64).Half(0).Word(0).Word(inFile).Word(0).Word(0).Word(0);
    to.Number(kPreferredBase, 8).Word(kPage).Word(kSector);
    to.Half(6).Half(0).Half(0).Half(0).Half(6).Half(0).Word(0); // versions
    to.Word(RoundedUp(kExports + sectionSize, kPage)).Word(kSector).Word(0);
    to.Half(kGraphical).Half(kWhere);
    to.Number(0x10'0000, 8).Number(0x1000, 8).Number(0x10'0000, 8).Number(0x1000, 8); // stack, heap
    to.Word(0).Word(16).Word(kExports).Word(sectionSize);
    to.FillTo(kOptionalHeader + kOptionalHeaderSize);
    to.Text(".edata").Number(0, 1); // eight bytes
    to.Word(sectionSize).Word(kExports).Word(inFile).Word(kSector);
    to.Word(0).Word(0).Word(0).Word(kRead);
    return to.FillTo(kSector).bytes;
}

} // namespace

DllImage ReadDll(std::string_view bytes) {
    const host::PeFile file(bytes);
    DllImage image;
    image.is64Bit = file.Is64Bit() && file.BuiltFor() == host::Processor::x64;
    if (file.Exports().size != 0) {
        ReadExports(file, image);
    }
    return image;
}

std::string ForwarderDll(const std::string& name, std::vector<DllExport> exports) {
    std::sort(exports.begin(), exports.end(),
              [](const DllExport& a, const DllExport& b) { return a.ordinal < b.ordinal; });
    const std::string section = ExportSection(name, exports);
    std::string file = Headers(section.size()) + section;
    file.resize(kSector + RoundedUp(section.size(), kSector));
    return file;
}

} // namespace rig
