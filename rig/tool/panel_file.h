/// A file that the panel shows.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "journal.h"
#include "json.h"
#include "source.h"

namespace rig {

/// What a file tells of lines and of what happened to them.
struct FileContent {
    std::vector<Journal::Entry> entries; ///< in order of time
    std::uint64_t begin = 0;             ///< ns
    std::uint64_t end = 0;               ///< ns
    Json first;                          ///< the levels at the beginning: 0, 1, "x" or "z"
    Json lines;                          ///< the levels at the end
    std::string vcd;                     ///< the lines as a waveform
};

/// Reads a waveform (VCD), or a recording of vendor calls. Throws std::runtime_error when it
/// cannot.
FileContent ReadContent(const std::string& name);

/// A waveform as a picture. Throws std::runtime_error when there is none.
std::string DrawWaveform(const std::string& vcd);

/// What the panel asks for a file. Throws std::runtime_error as ReadContent() does.
panel::Source SourceOfFile(const std::string& name);

} // namespace rig
