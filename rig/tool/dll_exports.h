/// The exports of a DLL, read from its file and written into a file of our own.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace rig {

struct DllExport {
    std::uint32_t ordinal = 0;
    std::vector<std::string> names; ///< none: it is exported by its ordinal alone

    /// "NTDLL.RtlMoveMemory": where a forwarder leads; empty for the DLL's own functions and data.
    std::string forward;
    bool isData = false; ///< it lies in a section that is not executable
};

struct DllImage {
    std::string name; ///< as the DLL itself gives it, or empty
    std::vector<DllExport> exports;
    bool is64Bit = false;
};

/// Reads a DLL for Windows. Throws std::runtime_error with the reason if it is none, or damaged.
DllImage ReadDll(std::string_view bytes);

/// A DLL that has no code and no data: every export must have a forward.
std::string ForwarderDll(const std::string& name, std::vector<DllExport> exports);

} // namespace rig
