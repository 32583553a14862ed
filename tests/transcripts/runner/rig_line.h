/// The hardware of a case, from its "rig" line.
#pragma once

#include "script.h"

namespace transcript {

/// The scenario for "rig usb, reset_port_ms = 25, camera.mep_latched = true", or the whole scenario
/// indented below "rig". Throws Mistake.
std::string ScenarioOf(const Line& act);

} // namespace transcript
