/// The hardware of a recording as a scenario.
#pragma once

#include <string>

#include "recorded_hardware.h"
#include "recorded_lines.h"

namespace rig::record {

/// Without faults and events. What the recording does not show has its default.
std::string HardwareScenario(const Recording& recording, const RecordedHardware& hardware,
                             const RecordedLines& lines);

} // namespace rig::record
