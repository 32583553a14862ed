/// The lines of a recording of vendor calls, as a waveform.
#pragma once

#include <string>
#include <string_view>

#include "vcd_reader.h"

namespace rig::wave {

/// Whether the text is a recording of vendor calls, and not of lines.
bool IsOfCalls(std::string_view text);

/// The lines, worked out from its calls. Throws std::runtime_error that begins with the line, as
/// ReadVcd() does.
Recording LinesOfCalls(std::string_view text);

/// A waveform as a VCD file, in microseconds.
std::string VcdOf(const Recording& recording);

} // namespace rig::wave
