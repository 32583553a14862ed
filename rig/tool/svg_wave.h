/// A picture as an SVG file, for documents and browsers.
#pragma once

#include <string>

#include "wave_picture.h"

namespace rig::wave {

/// One row a line under an axis with the times, in as many blocks as it takes, and the lines that
/// do not change below them. A stretch that is far longer than usual is cut, and shown so. The file
/// needs nothing but itself, has a dark and a light form, and tells its content in words too.
std::string DrawSvg(const Picture& exact);

} // namespace rig::wave
