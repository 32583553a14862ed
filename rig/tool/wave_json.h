/// A picture as WaveJSON, which WaveDrom draws as a timing diagram.
#pragma once

#include <string>

#include "wave_picture.h"

namespace rig::wave {

/// The same compressed axis as in text, in one piece however long. Times stand at the changes, and
/// the widths of pulses between two nodes with names that WaveDrom does not show. When all of those
/// names are in use (53 pulses have one), later pulses go without.
std::string WaveJson(const Picture& picture);

} // namespace rig::wave
