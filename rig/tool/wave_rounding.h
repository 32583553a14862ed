/// Times as a drawing needs them: read at a glance, not measured.
#pragma once

#include "wave_picture.h"

namespace rig::wave {

/// The picture with times to about a thousandth of the time that it shows, and widths of pulses to
/// three digits. A moment whose time is then that of the moment before it goes without a time.
Picture Rounded(Picture picture);

} // namespace rig::wave
